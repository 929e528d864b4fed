// `velto exclude [list|add|remove|private]`: the apps and sites never recorded, and whether
// private windows are skipped, through the same exclusion store as the Exclusions pane. A running
// recorder reads the list back from the settings file at once. Time recorded before an app or
// site was excluded stays unless --delete-past is given, as the pane asks.
#include "app/excluded_time.h"
#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/command_support.h"
#include "cli/commands/edit_session.h"
#include "context/exclusion_list.h"
#include "reports/duration_text.h"

namespace velto::cli {

namespace {

using nlohmann::json;

json listJson(const ExclusionList& list) {
  json apps = json::array();
  for (const ExcludedApp& app : list.apps) {
    apps.push_back({{"bundleId", app.bundleId}, {"name", app.name}});
  }
  return {{"apps", apps}, {"sites", list.hosts}, {"skipPrivateWindows", list.skipPrivateWindows}};
}

int list(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (!parsed->positional.empty()) {
    complain(i18n::text(language, "cli.exclude.usage"));
    return kBadUsage;
  }
  const ExclusionList& list = session.services().exclusions().list();
  if (parsed->has("--json")) {
    printJson(listJson(list));
    return kDone;
  }
  for (const ExcludedApp& app : list.apps) {
    printLine(i18n::text(language, "cli.exclude.app %@", app.bundleId) +
              (app.name.empty() || app.name == app.bundleId ? "" : "  " + app.name));
  }
  for (const std::string& host : list.hosts)
    printLine(i18n::text(language, "cli.exclude.site %@", host));
  printLine(i18n::text(
      language, list.skipPrivateWindows ? "cli.exclude.privateOn" : "cli.exclude.privateOff"));
  return kDone;
}

// Says how much time was recorded before the exclusion, and deletes it when asked to.
void pastTime(EditSession& session, const Result<ExcludedTime>& past, bool remove,
              const std::function<Result<std::int64_t>()>& deletePast) {
  const std::string& language = session.language;
  if (!past || past->rows == 0) return;
  const std::string amount = DurationText::forLanguage(language).format(past->seconds);
  if (!remove) {
    complain(i18n::text(language, "cli.exclude.pastKept %@", amount));
    return;
  }
  Result<std::int64_t> deleted = deletePast();
  if (!deleted) {
    complain(storeFailureText(language, deleted.error()));
    return;
  }
  complain(i18n::text(language, "cli.exclude.pastDeleted %@", amount));
}

int add(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {"--name"}, {"--json", "--delete-past"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 2) {
    complain(i18n::text(language, "cli.exclude.usage"));
    return kBadUsage;
  }
  ServiceSet& services = session.services();
  ExclusionStore& exclusions = services.exclusions();
  const std::string& kind = parsed->positional[0];
  const std::string& typed = parsed->positional[1];
  const Instant now = services.clock().now();
  const bool removePast = parsed->has("--delete-past");
  if (kind == "app") {
    const std::string bundleId(typed.begin(), typed.end());
    if (bundleId.empty() || bundleId.find_first_of(" \t") != std::string::npos) {
      complain(i18n::text(language, "cli.exclude.badApp %@", typed));
      return kFailed;
    }
    const auto name = parsed->values.find("--name");
    exclusions.addApp(bundleId, name != parsed->values.end() ? name->second : bundleId);
    complain(i18n::text(language, "cli.exclude.added %@", bundleId));
    pastTime(session, recordedTimeOfApp(services.store(), bundleId, now), removePast,
             [&] { return deleteRecordedTimeOfApp(services.store(), bundleId, now); });
  } else if (kind == "site") {
    const std::optional<std::string> host = exclusions.addHost(typed);
    if (!host) {
      complain(i18n::text(language, "cli.badSite %@", typed));
      return kFailed;
    }
    complain(i18n::text(language, "cli.exclude.added %@", *host));
    pastTime(session, recordedTimeOfHost(services.store(), *host, now), removePast,
             [&] { return deleteRecordedTimeOfHost(services.store(), *host, now); });
  } else {
    complain(i18n::text(language, "cli.badChoice %@ %@ %@", "KIND", kind, "app, site"));
    return kFailed;
  }
  if (parsed->has("--json")) printJson(listJson(exclusions.list()));
  return kDone;
}

int remove(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 2) {
    complain(i18n::text(language, "cli.exclude.usage"));
    return kBadUsage;
  }
  ExclusionStore& exclusions = session.services().exclusions();
  const std::string& kind = parsed->positional[0];
  const std::string& typed = parsed->positional[1];
  const ExclusionList before = exclusions.list();
  if (kind == "app") {
    exclusions.removeApp(typed);
  } else if (kind == "site") {
    exclusions.removeHost(normalizeTypedHost(typed).value_or(typed));
  } else {
    complain(i18n::text(language, "cli.badChoice %@ %@ %@", "KIND", kind, "app, site"));
    return kFailed;
  }
  if (exclusions.list() == before) {
    complain(i18n::text(language, "cli.exclude.notListed %@", typed));
    return kFailed;
  }
  complain(i18n::text(language, "cli.exclude.removed %@", typed));
  if (parsed->has("--json")) printJson(listJson(exclusions.list()));
  return kDone;
}

int privateWindows(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 1 ||
      (parsed->positional[0] != "on" && parsed->positional[0] != "off")) {
    complain(i18n::text(language, "cli.exclude.usage"));
    return kBadUsage;
  }
  const bool skip = parsed->positional[0] == "on";
  session.services().exclusions().setSkipPrivateWindows(skip);
  complain(i18n::text(language, skip ? "cli.exclude.privateOn" : "cli.exclude.privateOff"));
  if (parsed->has("--json")) printJson(listJson(session.services().exclusions().list()));
  return kDone;
}

int run(const Invocation& invocation) {
  EditSession session(invocation.language);
  using Args = const std::vector<std::string>&;
  return runVerb(invocation,
                 {{"list", [&](Args args) { return list(session, args); }},
                  {"add", [&](Args args) { return add(session, args); }},
                  {"remove", [&](Args args) { return remove(session, args); }},
                  {"private", [&](Args args) { return privateWindows(session, args); }}},
                 "list", "cli.exclude.usage");
}

const Registration registration(Command{"exclude",
                                        "cli.exclude.summary",
                                        "cli.exclude.help",
                                        run,
                                        {"list", "add", "remove", "private", "app", "site", "on",
                                         "off", "--name", "--delete-past", "--json"}});

}  // namespace

}  // namespace velto::cli
