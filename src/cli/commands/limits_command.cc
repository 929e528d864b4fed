// `velto limits [list|add|set|enable|disable|remove]`: the limits and goals of the Limits pane,
// through the same store (upsert by rule key), so a running recorder's limit monitor checks
// the new rules at once.
#include <algorithm>
#include <cctype>

#include "base/duration_input.h"
#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/command_support.h"
#include "cli/commands/edit_session.h"
#include "context/exclusion_list.h"
#include "limits/limit_progress.h"
#include "recording/off_computer.h"

namespace velto::cli {

namespace {

using nlohmann::json;

std::string lowered(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

// "everything", "app:ID", "site:HOST" or "category:NAME"; says why on stderr when it is none.
std::optional<UsageLimit::Subject> subjectNamed(EditSession& session, const std::string& text,
                                                const ParsedOptions& parsed) {
  ServiceSet& services = session.services();
  const std::string& language = session.language;
  if (text == "everything" || text == "total") return UsageLimit::Subject::total();
  const size_t colon = text.find(':');
  const std::string kind = colon == std::string::npos ? std::string() : text.substr(0, colon);
  const std::string value = colon == std::string::npos ? std::string() : text.substr(colon + 1);
  if (kind == "app" && !value.empty() && value.find_first_of(" \t") == std::string::npos) {
    if (isOffComputer(value)) {
      complain(i18n::text(language, "cli.limits.offComputer %@", value));
      return std::nullopt;
    }
    if (const auto name = parsed.values.find("--name"); name != parsed.values.end()) {
      return UsageLimit::Subject::app(value, name->second);
    }
    // The name it was recorded under, else the one a rule already gives it.
    std::optional<std::string> name = recordedAppName(services, value);
    for (const UsageLimit& limit : services.limits().limits()) {
      if (!name && limit.subject.kind == UsageLimit::Subject::Kind::app &&
          lowered(limit.subject.value) == lowered(value)) {
        name = limit.subject.name;
      }
    }
    return UsageLimit::Subject::app(value, name.value_or(value));
  }
  if (kind == "site" || kind == "host") {
    if (std::optional<std::string> host = normalizeTypedHost(value)) {
      return UsageLimit::Subject::host(*host);
    }
    complain(i18n::text(language, "cli.badSite %@", value));
    return std::nullopt;
  }
  if (kind == "category") {
    if (std::optional<std::string> raw = categoryNamed(services.categories(), value, language)) {
      return UsageLimit::Subject::category(*raw);
    }
    complain(i18n::text(language, "cli.unknownCategory %@", value));
    return std::nullopt;
  }
  complain(i18n::text(language, "cli.limits.badSubject %@", text));
  return std::nullopt;
}

std::optional<double> amountNamed(const std::string& text, const std::string& language) {
  std::optional<double> seconds = parseDuration(text);
  if (!seconds) complain(i18n::text(language, "cli.badDuration %@", text));
  return seconds;
}

// The rule named by its id, the start of its id (unique), or its rule key.
const UsageLimit* ruleNamed(EditSession& session, const std::string& text) {
  const std::vector<UsageLimit>& limits = session.services().limits().limits();
  const UsageLimit* found = nullptr;
  int matches = 0;
  for (const UsageLimit& limit : limits) {
    const std::string id = lowered(limit.id.toString());
    if (id == lowered(text) || lowered(limit.ruleKey()) == lowered(text)) return &limit;
    if (text.size() >= 4 && id.starts_with(lowered(text))) {
      found = &limit;
      ++matches;
    }
  }
  if (matches == 1) return found;
  complain(i18n::text(session.language, "cli.limits.noRule %@", text));
  return nullptr;
}

json progressJson(EditSession& session, const UsageLimit& limit) {
  ServiceSet& services = session.services();
  const Calendar& calendar = services.calendar();
  const Instant now = services.clock().now();
  const Instant dayStart = calendar.startOfDay(now);
  const DateInterval week = calendar.weekInterval(now);
  ReportFigures& figures = services.figures();
  const double today = figures.spentSeconds(limit.subject, dayStart, calendar.nextMidnight(now));
  const double thisWeek = figures.spentSeconds(limit.subject, week.start, week.end);
  const LimitProgress progress{limit, limit.span == UsageLimit::Span::day ? today : thisWeek,
                               limit.secondsPerDay};
  return {{"id", limit.id.toString()},
          {"key", limit.ruleKey()},
          {"kind", rawValue(limit.kind)},
          {"span", rawValue(limit.span)},
          {"subject",
           {{"kind", rawValue(limit.subject.kind)},
            {"value", limit.subject.value},
            {"name", limit.subject.name}}},
          {"subjectName", displayName(limit.subject, &services.categories(), session.language)},
          {"seconds", limit.secondsPerDay},
          {"enabled", limit.isEnabled},
          {"createdAt", isoText(limit.createdAt)},
          {"spentToday", today},
          {"spentThisWeek", thisWeek},
          {"overOrMet", progress.isOverOrMet()},
          {"progress", progress.text(session.language)}};
}

std::string line(const json& item, const std::string& language) {
  std::string text =
      item["id"].get<std::string>().substr(0, 8) + "  " + item["subjectName"].get<std::string>() +
      "  " + i18n::text(language, "settings.limits.kind." + item["kind"].get<std::string>()) +
      "  " + item["progress"].get<std::string>();
  if (!item["enabled"].get<bool>()) text += "  " + i18n::text(language, "cli.limits.off");
  return text;
}

int list(EditSession& session, const std::vector<std::string>& args) {
  const auto parsed = options(session.language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (!parsed->positional.empty()) {
    complain(i18n::text(session.language, "cli.limits.usage"));
    return kBadUsage;
  }
  json all = json::array();
  for (const UsageLimit& limit : session.services().limits().limits()) {
    all.push_back(progressJson(session, limit));
  }
  if (parsed->has("--json")) {
    printJson({{"limits", all}});
  } else if (all.empty()) {
    complain(i18n::text(session.language, "settings.limits.none"));
  } else {
    for (const json& item : all) printLine(line(item, session.language));
  }
  return kDone;
}

std::optional<UsageLimit::Kind> kindOption(const ParsedOptions& parsed,
                                           const std::string& language) {
  const auto given = parsed.values.find("--kind");
  if (given == parsed.values.end()) return UsageLimit::Kind::limit;
  if (auto kind = limitKindFromRaw(given->second)) return kind;
  complain(i18n::text(language, "cli.badChoice %@ %@ %@", "--kind", given->second, "limit, goal"));
  return std::nullopt;
}

std::optional<UsageLimit::Span> spanOption(const ParsedOptions& parsed,
                                           const std::string& language) {
  const auto given = parsed.values.find("--per");
  if (given == parsed.values.end()) return UsageLimit::Span::day;
  if (auto span = limitSpanFromRaw(given->second)) return span;
  complain(i18n::text(language, "cli.badChoice %@ %@ %@", "--per", given->second, "day, week"));
  return std::nullopt;
}

// The early-warning choices the Limits pane offers; none when `text` is none of them.
std::optional<double> warnRatioNamed(std::string_view text) {
  static constexpr std::pair<std::string_view, double> kChoices[] = {
      {"off", 0},   {"75%", 0.75}, {"0.75", 0.75}, {"80%", 0.8},
      {"0.8", 0.8}, {"90%", 0.9},  {"0.9", 0.9}};
  for (const auto& [name, ratio] : kChoices) {
    if (name == text) return ratio;
  }
  return std::nullopt;
}

const UsageLimit* findByKey(EditSession& session, const std::string& key) {
  for (const UsageLimit& limit : session.services().limits().limits()) {
    if (limit.ruleKey() == key) return &limit;
  }
  return nullptr;
}

int add(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {"--kind", "--per", "--warn", "--name"}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 2) {
    complain(i18n::text(language, "cli.limits.usage"));
    return kBadUsage;
  }
  const auto subject = subjectNamed(session, parsed->positional[0], *parsed);
  const auto seconds = subject ? amountNamed(parsed->positional[1], language) : std::nullopt;
  const auto kind = seconds ? kindOption(*parsed, language) : std::nullopt;
  const auto span = kind ? spanOption(*parsed, language) : std::nullopt;
  if (!span) return kFailed;
  std::optional<double> warn;
  if (const auto given = parsed->values.find("--warn"); given != parsed->values.end()) {
    warn = warnRatioNamed(given->second);
    if (!warn) {
      complain(i18n::text(language, "cli.badChoice %@ %@ %@", "--warn", given->second,
                          "off, 0.75, 0.8, 0.9"));
      return kFailed;
    }
  }
  LimitStore& store = session.services().limits();
  const std::string key = ruleKey(*kind, *span, *subject);
  const bool existed = findByKey(session, key) != nullptr;
  store.set(*subject, *kind, *span, *seconds);
  if (warn) session.services().settings().setLimitWarnRatio(*warn);
  const UsageLimit* stored = findByKey(session, key);
  if (stored == nullptr) return kFailed;
  const json item = progressJson(session, *stored);
  complain(i18n::text(language, existed ? "cli.limits.updated %@ %@" : "cli.limits.added %@ %@",
                      item["subjectName"].get<std::string>(), item["progress"].get<std::string>()));
  if (parsed->has("--json")) printJson(item);
  return kDone;
}

int set(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 2) {
    complain(i18n::text(language, "cli.limits.usage"));
    return kBadUsage;
  }
  const UsageLimit* rule = ruleNamed(session, parsed->positional[0]);
  if (rule == nullptr) return kFailed;
  const auto seconds = amountNamed(parsed->positional[1], language);
  if (!seconds) return kFailed;
  const UsageLimit before = *rule;
  session.services().limits().set(before.subject, before.kind, before.span, *seconds);
  const UsageLimit* stored = findByKey(session, before.ruleKey());
  if (stored == nullptr) return kFailed;
  const json item = progressJson(session, *stored);
  complain(i18n::text(language, "cli.limits.updated %@ %@", item["subjectName"].get<std::string>(),
                      item["progress"].get<std::string>()));
  if (parsed->has("--json")) printJson(item);
  return kDone;
}

int toggle(EditSession& session, const std::vector<std::string>& args, bool enabled) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 1) {
    complain(i18n::text(language, "cli.limits.usage"));
    return kBadUsage;
  }
  const UsageLimit* rule = ruleNamed(session, parsed->positional[0]);
  if (rule == nullptr) return kFailed;
  const Uuid id = rule->id;
  session.services().limits().setEnabled(id, enabled);
  for (const UsageLimit& limit : session.services().limits().limits()) {
    if (limit.id != id) continue;
    const json item = progressJson(session, limit);
    complain(i18n::text(language, enabled ? "cli.limits.enabled %@" : "cli.limits.disabled %@",
                        item["subjectName"].get<std::string>()));
    if (parsed->has("--json")) printJson(item);
  }
  return kDone;
}

int remove(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 1) {
    complain(i18n::text(language, "cli.limits.usage"));
    return kBadUsage;
  }
  const UsageLimit* rule = ruleNamed(session, parsed->positional[0]);
  if (rule == nullptr) return kFailed;
  const UsageLimit gone = *rule;
  session.services().limits().deleteRule(gone.id);
  complain(i18n::text(language, "cli.limits.removed %@ %@",
                      displayName(gone.subject, &session.services().categories(), language),
                      gone.ruleKey()));
  return kDone;
}

int run(const Invocation& invocation) {
  EditSession session(invocation.language);
  using Args = const std::vector<std::string>&;
  return runVerb(invocation,
                 {{"list", [&](Args args) { return list(session, args); }},
                  {"add", [&](Args args) { return add(session, args); }},
                  {"set", [&](Args args) { return set(session, args); }},
                  {"enable", [&](Args args) { return toggle(session, args, true); }},
                  {"disable", [&](Args args) { return toggle(session, args, false); }},
                  {"remove", [&](Args args) { return remove(session, args); }}},
                 "list", "cli.limits.usage");
}

const Registration registration(Command{"limits",
                                        "cli.limits.summary",
                                        "cli.limits.help",
                                        run,
                                        {"list", "add", "set", "enable", "disable", "remove",
                                         "--kind", "--per", "--warn", "--name", "--json"}});

}  // namespace

}  // namespace velto::cli
