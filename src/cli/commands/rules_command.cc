// `velto rules [list|add|remove|test]`: the category rules of the Rules pane, through the same
// rule book and store. A running recorder or report window rebuilds its resolver when it sees
// the store change.
#include <algorithm>
#include <cctype>

#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/command_support.h"
#include "cli/commands/edit_session.h"
#include "context/exclusion_list.h"
#include "store/category_rule_book.h"

namespace velto::cli {

namespace {

using nlohmann::json;

std::string lowered(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

// "app", "site" (or "host") and "keyword" (or "title"), as the user types them.
std::optional<CategoryRule::Subject> subjectNamed(std::string_view text) {
  if (text == "app") return CategoryRule::Subject::app;
  if (text == "site" || text == "host") return CategoryRule::Subject::host;
  if (text == "keyword" || text == "title") return CategoryRule::Subject::keyword;
  return std::nullopt;
}

std::string subjectWord(std::string_view subjectRaw) {
  return subjectRaw == "host" ? "site" : std::string(subjectRaw);
}

json ruleJson(EditSession& session, const CategoryRule& rule) {
  const EffectiveCategory category = session.services().categories().effective(
      UsageCategory::fromRaw(rule.categoryRaw), session.language);
  return {{"id", rule.id.toString()},      {"subject", subjectWord(rule.subjectRaw)},
          {"pattern", rule.pattern},       {"category", category.rawValue},
          {"categoryName", category.name}, {"createdAt", isoText(rule.createdAt)}};
}

CategoryRuleBook book(EditSession& session) {
  ServiceSet& services = session.services();
  return CategoryRuleBook(services.store(), services.categories(), services.clock());
}

std::string describe(EditSession& session, const CategoryRule& rule) {
  return book(session).describe(rule, session.language);
}

int list(EditSession& session, const std::vector<std::string>& args) {
  const auto parsed = options(session.language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (!parsed->positional.empty()) {
    complain(i18n::text(session.language, "cli.rules.usage"));
    return kBadUsage;
  }
  const std::vector<CategoryRule> rules = book(session).rules();
  if (parsed->has("--json")) {
    json all = json::array();
    for (const CategoryRule& rule : rules) all.push_back(ruleJson(session, rule));
    printJson({{"rules", all}});
  } else if (rules.empty()) {
    complain(i18n::text(session.language, "cli.rules.none"));
  } else {
    for (const CategoryRule& rule : rules) {
      printLine(rule.id.toString().substr(0, 8) + "  " + describe(session, rule));
    }
  }
  return kDone;
}

int add(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 3) {
    complain(i18n::text(language, "cli.rules.usage"));
    return kBadUsage;
  }
  const std::vector<std::string>& words = parsed->positional;
  const std::optional<CategoryRule::Subject> subject = subjectNamed(words[0]);
  if (!subject) {
    complain(
        i18n::text(language, "cli.badChoice %@ %@ %@", "SUBJECT", words[0], "app, site, keyword"));
    return kFailed;
  }
  if (!CategoryRuleBook::pattern(*subject, words[1])) {
    complain(i18n::text(
        language,
        *subject == CategoryRule::Subject::host ? "cli.badSite %@" : "cli.rules.noPattern %@",
        words[1]));
    return kFailed;
  }
  const std::optional<std::string> category =
      categoryNamed(session.services().categories(), words[2], language);
  if (!category) {
    complain(i18n::text(language, "cli.unknownCategory %@", words[2]));
    return kFailed;
  }
  Result<CategoryRule> added = book(session).add(*subject, words[1], *category);
  if (!added) {
    complain(storeFailureText(language, added.error()));
    return kFailed;
  }
  complain(i18n::text(language, "cli.rules.added %@", describe(session, *added)));
  if (parsed->has("--json")) printJson(ruleJson(session, *added));
  return kDone;
}

int remove(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 1) {
    complain(i18n::text(language, "cli.rules.usage"));
    return kBadUsage;
  }
  const std::string wanted = lowered(parsed->positional.front());
  std::vector<CategoryRule> matching;
  for (const CategoryRule& rule : book(session).rules()) {
    const std::string id = lowered(rule.id.toString());
    if (id == wanted || (wanted.size() >= 4 && id.starts_with(wanted))) matching.push_back(rule);
  }
  if (matching.size() != 1) {
    complain(i18n::text(language, "cli.rules.noRule %@", parsed->positional.front()));
    return kFailed;
  }
  if (Status removed = book(session).remove(matching.front().id); !removed) {
    complain(storeFailureText(language, removed.error()));
    return kFailed;
  }
  complain(i18n::text(language, "cli.rules.removed %@", describe(session, matching.front())));
  return kDone;
}

// The user's rule behind a decision, when a rule made it: the newest with that subject and
// pattern, as the resolver lets the newest win.
std::optional<CategoryRule> ruleBehind(const std::vector<CategoryRule>& rules,
                                       const CategoryDecision& decision) {
  std::string_view subject;
  switch (decision.source) {
    case CategoryDecision::Source::keywordRule:
      subject = "keyword";
      break;
    case CategoryDecision::Source::hostRule:
      subject = "host";
      break;
    case CategoryDecision::Source::appRule:
      subject = "app";
      break;
    default:
      return std::nullopt;
  }
  std::optional<CategoryRule> found;
  for (const CategoryRule& rule : rules) {
    std::string pattern = lowered(rule.pattern);
    if (subject == "host")
      pattern = CategoryRuleBook::pattern(CategoryRule::Subject::host, pattern).value_or(pattern);
    if (rule.subjectRaw == subject && pattern == decision.matched) found = rule;
  }
  return found;
}

int test(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {"--app", "--site", "--title"}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() > 1 || (parsed->positional.empty() && parsed->values.empty())) {
    complain(i18n::text(language, "cli.rules.usage"));
    return kBadUsage;
  }
  struct Reading {
    std::string as;  // "app", "site", "title" or "window" for the options together
    std::string app;
    std::optional<std::string> host;
    std::optional<std::string> title;
  };
  std::vector<Reading> readings;
  if (!parsed->values.empty()) {
    Reading together{"window", "", std::nullopt, std::nullopt};
    if (parsed->values.contains("--app")) together.app = parsed->values.at("--app");
    if (parsed->values.contains("--site")) {
      together.host = normalizeTypedHost(parsed->values.at("--site"));
      if (!together.host) {
        complain(i18n::text(language, "cli.badSite %@", parsed->values.at("--site")));
        return kFailed;
      }
    }
    if (parsed->values.contains("--title")) together.title = parsed->values.at("--title");
    readings.push_back(together);
  }
  if (!parsed->positional.empty()) {
    // One text, read each way it could be meant.
    const std::string& text = parsed->positional.front();
    if (text.find_first_of(" \t") == std::string::npos) {
      readings.push_back({"app", text, std::nullopt, std::nullopt});
    }
    if (std::optional<std::string> host = normalizeTypedHost(text)) {
      readings.push_back({"site", "", host, std::nullopt});
    }
    readings.push_back({"title", "", std::nullopt, text});
  }
  const std::shared_ptr<const CategoryResolver> resolver = session.services().categoryResolver();
  const std::vector<CategoryRule> rules = book(session).rules();
  json results = json::array();
  for (const Reading& reading : readings) {
    const CategoryDecision decision = resolver->decide(reading.app, reading.host, reading.title);
    const EffectiveCategory category = session.services().categories().effective(
        UsageCategory::fromRaw(decision.category), language);
    const std::optional<CategoryRule> rule = ruleBehind(rules, decision);
    json result = {{"as", reading.as},
                   {"app", reading.app},
                   {"site", reading.host ? json(*reading.host) : json()},
                   {"title", reading.title ? json(*reading.title) : json()},
                   {"category", category.rawValue},
                   {"categoryName", category.name},
                   {"decidedBy", rawValue(decision.source)},
                   {"matched", decision.matched},
                   {"ruleId", rule ? json(rule->id.toString()) : json()}};
    results.push_back(result);
    if (parsed->has("--json")) continue;
    const std::string shown = reading.as == "app"     ? reading.app
                              : reading.as == "site"  ? *reading.host
                              : reading.as == "title" ? *reading.title
                                                      : std::string();
    std::string text =
        i18n::text(language, "cli.rules.test.as." + reading.as) +
        (shown.empty() ? "" : " " + shown) + ": " + category.name + " (" +
        (decision.source == CategoryDecision::Source::nothing
             ? i18n::text(language, "cli.rules.test.by.nothing")
             : i18n::text(language,
                          "cli.rules.test.by." + std::string(rawValue(decision.source)) + " %@",
                          decision.matched)) +
        ")";
    printLine(text);
  }
  if (parsed->has("--json")) printJson({{"results", results}});
  return kDone;
}

int run(const Invocation& invocation) {
  EditSession session(invocation.language);
  using Args = const std::vector<std::string>&;
  return runVerb(invocation,
                 {{"list", [&](Args args) { return list(session, args); }},
                  {"add", [&](Args args) { return add(session, args); }},
                  {"remove", [&](Args args) { return remove(session, args); }},
                  {"test", [&](Args args) { return test(session, args); }}},
                 "list", "cli.rules.usage");
}

const Registration registration(Command{"rules",
                                        "cli.rules.summary",
                                        "cli.rules.help",
                                        run,
                                        {"list", "add", "remove", "test", "app", "site", "keyword",
                                         "--app", "--site", "--title", "--json"}});

}  // namespace

}  // namespace velto::cli
