// `velto delete`, `velto reassign` and `velto wipe`: the report's edits of recorded time and
// the General pane's "Delete all recorded data", through the store's edit path (one
// transaction each; the rows' part outside the stretch stays). The stretch still being
// recorded is not in the store yet and is left to the recorder, which says so.
#include "base/duration_input.h"
#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/command_support.h"
#include "cli/commands/edit_session.h"
#include "context/exclusion_list.h"
#include "recording/off_computer.h"
#include "recording/segment_checkpoint.h"
#include "reports/duration_text.h"

namespace velto::cli {

namespace {

using nlohmann::json;

const std::vector<std::string> kRangeOptions = {"--date", "--from", "--to", "--app", "--site"};

std::string lowered(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

// Which rows the edit touches: all, one application's (--app) or one site's (--site, with its
// subdomains). None, said on stderr, when both are given or the site is malformed.
std::optional<std::function<bool(const Segment&)>> rowFilter(const ParsedOptions& parsed,
                                                             const std::string& language) {
  const bool app = parsed.values.contains("--app");
  const bool site = parsed.values.contains("--site");
  if (app && site) {
    complain(i18n::text(language, "cli.edit.appOrSite"));
    return std::nullopt;
  }
  if (app) {
    const std::string bundleId = lowered(parsed.values.at("--app"));
    return [bundleId](const Segment& row) { return lowered(row.bundleId) == bundleId; };
  }
  if (site) {
    const std::optional<std::string> host = normalizeTypedHost(parsed.values.at("--site"));
    if (!host) {
      complain(i18n::text(language, "cli.badSite %@", parsed.values.at("--site")));
      return std::nullopt;
    }
    const ExclusionList list{{}, {*host}, false};
    return [list](const Segment& row) { return list.excludesHost(row.host); };
  }
  return std::function<bool(const Segment&)>();
}

// Tells the user when the stretch reaches into the one still being recorded.
void noteRunningSegment(const EditSession& session, const DateInterval& range) {
  const std::optional<SegmentCheckpoint> running = session.runningSegment();
  if (!running || !(running->startedAt < range.end)) return;
  complain(i18n::text(session.language, "cli.edit.runningKept %@", running->context.appName));
}

json outcomeJson(const SegmentStore::RangeEdit& edit, const DateInterval& range) {
  return {{"from", isoText(range.start)},
          {"to", isoText(range.end)},
          {"rows", edit.rows},
          {"seconds", edit.seconds}};
}

struct RangeRequest {
  DateInterval range;
  std::function<bool(const Segment&)> filter;
};

std::optional<RangeRequest> rangeRequest(EditSession& session, const ParsedOptions& parsed,
                                         std::string_view usageKey) {
  const std::string& language = session.language;
  if (!parsed.positional.empty()) {
    complain(i18n::text(language, usageKey));
    return std::nullopt;
  }
  ServiceSet& services = session.services();
  Result<DateInterval> range =
      rangeFromOptions(parsed, services.calendar(), services.clock().now(), language);
  if (!range) {
    complain(range.error());
    return std::nullopt;
  }
  auto filter = rowFilter(parsed, language);
  if (!filter) return std::nullopt;
  return RangeRequest{*range, *filter};
}

int report(EditSession& session, const Result<SegmentStore::RangeEdit>& edit,
           const RangeRequest& request, const ParsedOptions& parsed, std::string_view doneKey) {
  const std::string& language = session.language;
  if (!edit) {
    complain(storeFailureText(language, edit.error()));
    return kFailed;
  }
  if (edit->rows == 0) {
    complain(i18n::text(language, "cli.edit.nothing"));
  } else {
    complain(i18n::text(language, doneKey,
                        DurationText::forLanguage(language).format(edit->seconds),
                        std::to_string(edit->rows)));
  }
  noteRunningSegment(session, request.range);
  if (parsed.has("--json")) printJson(outcomeJson(*edit, request.range));
  return kDone;
}

int runDelete(const Invocation& invocation) {
  EditSession session(invocation.language);
  const auto parsed = options(session.language, invocation.args, kRangeOptions, {"--json"});
  if (!parsed) return kBadUsage;
  const auto request = rangeRequest(session, *parsed, "cli.delete.usage");
  if (!request) return kFailed;
  const auto edit = session.services().store().editRange(request->range.start, request->range.end,
                                                         request->filter, std::nullopt);
  return report(session, edit, *request, *parsed, "cli.delete.done %@ %@");
}

int runReassign(const Invocation& invocation) {
  EditSession session(invocation.language);
  const std::string& language = session.language;
  std::vector<std::string> valued = kRangeOptions;
  valued.insert(valued.end(), {"--give-to", "--name", "--away"});
  const auto parsed = options(language, invocation.args, valued, {"--json"});
  if (!parsed) return kBadUsage;
  const bool giveTo = parsed->values.contains("--give-to");
  const bool away = parsed->values.contains("--away");
  if (giveTo == away) {
    complain(i18n::text(language, "cli.reassign.usage"));
    return kBadUsage;
  }
  const auto request = rangeRequest(session, *parsed, "cli.reassign.usage");
  if (!request) return kFailed;
  SegmentStore::RangeOwner owner;
  if (giveTo) {
    owner.bundleId = parsed->values.at("--give-to");
    if (owner.bundleId.empty() || owner.bundleId.find_first_of(" \t") != std::string::npos ||
        isOffComputer(owner.bundleId)) {
      complain(i18n::text(language, "cli.exclude.badApp %@", owner.bundleId));
      return kFailed;
    }
    const auto name = parsed->values.find("--name");
    owner.appName =
        name != parsed->values.end()
            ? name->second
            : recordedAppName(session.services(), owner.bundleId).value_or(owner.bundleId);
  } else {
    const std::optional<OffMacKind> kind = offMacKindFromRaw(parsed->values.at("--away"));
    if (!kind) {
      std::string kinds;
      for (OffMacKind each : allOffMacKinds()) {
        kinds += (kinds.empty() ? "" : ", ") + std::string(rawValue(each));
      }
      complain(i18n::text(language, "cli.badChoice %@ %@ %@", "--away", parsed->values.at("--away"),
                          kinds));
      return kFailed;
    }
    owner.bundleId = offMacBundleId(*kind);
    owner.appName = i18n::text(language, localizationKey(*kind));
  }
  const auto edit = session.services().store().editRange(request->range.start, request->range.end,
                                                         request->filter, owner);
  if (edit && edit->rows > 0) complain(i18n::text(language, "cli.reassign.to %@", owner.appName));
  return report(session, edit, *request, *parsed, "cli.reassign.done %@ %@");
}

int runWipe(const Invocation& invocation) {
  const std::string& language = invocation.language;
  const auto parsed = options(language, invocation.args, {}, {"--yes"});
  if (!parsed) return kBadUsage;
  if (!parsed->positional.empty()) {
    complain(i18n::text(language, "cli.wipe.usage"));
    return kBadUsage;
  }
  if (!parsed->has("--yes")) {
    const std::string word = i18n::text(language, "cli.confirm.word");
    const std::string question = i18n::text(language, "cli.wipe.question") + " " +
                                 i18n::text(language, "cli.confirm.type %@", word);
    if (!confirmedOnTerminal(question, word)) {
      complain(i18n::text(language, "cli.wipe.question") + " " +
               i18n::text(language, "cli.confirm.needYes"));
      return kFailed;
    }
  }
  EditSession session(language);
  SegmentStore& store = session.services().store();
  const Result<std::int64_t> rows = store.count();
  if (Status wiped = store.wipe(); !wiped) {
    complain(storeFailureText(language, wiped.error()));
    return kFailed;
  }
  complain(i18n::text(language, "cli.wipe.done %@", std::to_string(rows ? *rows : 0)));
  return kDone;
}

const Registration deletion(Command{"delete",
                                    "cli.delete.summary",
                                    "cli.delete.help",
                                    runDelete,
                                    {"--date", "--from", "--to", "--app", "--site", "--json"}});
const Registration reassignment(Command{
    "reassign",
    "cli.reassign.summary",
    "cli.reassign.help",
    runReassign,
    {"--date", "--from", "--to", "--app", "--site", "--give-to", "--name", "--away", "--json"}});
const Registration wipe(Command{"wipe", "cli.wipe.summary", "cli.wipe.help", runWipe, {"--yes"}});

}  // namespace

}  // namespace velto::cli
