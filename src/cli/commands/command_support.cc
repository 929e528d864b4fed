#include "cli/commands/command_support.h"

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <iostream>

#include "base/instant_input.h"
#include "base/iso8601.h"
#include "base/strings.h"

namespace velto::cli {

void printLine(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fputc('\n', stdout);
}

void printJson(const nlohmann::json& document) {
  printLine(document.dump(2));
}

int runVerb(const Invocation& invocation, const std::vector<Verb>& verbs, std::string_view fallback,
            std::string_view usageKey) {
  const std::vector<std::string>& args = invocation.args;
  const bool named = !args.empty() && !args.front().starts_with("-");
  const std::string name = named ? args.front() : std::string(fallback);
  for (const Verb& verb : verbs) {
    if (verb.name != name) continue;
    return verb.run(named ? std::vector<std::string>(args.begin() + 1, args.end()) : args);
  }
  complain(i18n::text(invocation.language, "cli.unknownVerb %@", name));
  complain(i18n::text(invocation.language, usageKey));
  return kBadUsage;
}

std::optional<ParsedOptions> options(const std::string& language,
                                     const std::vector<std::string>& args,
                                     const std::vector<std::string>& valued,
                                     const std::vector<std::string>& bare) {
  Result<ParsedOptions> parsed = parseOptions(args, valued, bare);
  if (!parsed) {
    complain(i18n::text(language, "cli.badOption %@", parsed.error()));
    return std::nullopt;
  }
  return std::move(parsed).value();
}

bool confirmedOnTerminal(const std::string& question, const std::string& word) {
  if (isatty(STDIN_FILENO) != 1 || isatty(STDERR_FILENO) != 1) return false;
  std::fputs((question + " ").c_str(), stderr);
  std::fflush(stderr);
  std::string answer;
  if (!std::getline(std::cin, answer)) return false;
  return answer == word;
}

Result<DateInterval> rangeFromOptions(const ParsedOptions& options, const Calendar& calendar,
                                      Instant now, const std::string& language) {
  const bool hasDate = options.values.contains("--date");
  const bool hasFrom = options.values.contains("--from");
  const bool hasTo = options.values.contains("--to");
  if (hasDate && (hasFrom || hasTo)) {
    return Error{i18n::text(language, "cli.range.both")};
  }
  if (hasDate) {
    const std::string& day = options.values.at("--date");
    const std::optional<Instant> start = calendar.startOfDayKey(day);
    if (!start) return Error{i18n::text(language, "cli.range.badDate %@", day)};
    return DateInterval{*start, calendar.nextMidnight(*start)};
  }
  if (!hasFrom || !hasTo) return Error{i18n::text(language, "cli.range.missing")};
  const std::string& fromText = options.values.at("--from");
  const std::string& toText = options.values.at("--to");
  const std::optional<Instant> from = parseInstantInput(fromText, calendar, now);
  if (!from) return Error{i18n::text(language, "cli.range.badInstant %@ %@", "--from", fromText)};
  const std::optional<Instant> to = parseInstantInput(toText, calendar, now);
  if (!to) return Error{i18n::text(language, "cli.range.badInstant %@ %@", "--to", toText)};
  if (!(*from < *to))
    return Error{i18n::text(language, "cli.range.backwards %@ %@", fromText, toText)};
  return DateInterval{*from, *to};
}

std::optional<std::string> categoryNamed(const CategoryCatalog& catalog, std::string_view text,
                                         const std::string& language) {
  auto folded = [](std::string_view value) {
    std::string out(value);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
  };
  for (const UsageCategory& category : catalog.allCategories()) {
    if (category.rawValue() == text) return std::string(category.rawValue());
  }
  for (const UsageCategory& category : catalog.allCategories()) {
    const EffectiveCategory effective = catalog.effective(category, language);
    if (folded(effective.name) == folded(text)) return effective.rawValue;
  }
  return std::nullopt;
}

std::optional<std::string> recordedAppName(ServiceSet& services, std::string_view bundleId) {
  auto folded = [](std::string_view value) {
    std::string out(value);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
  };
  const Instant now = services.clock().now();
  const Instant from = services.calendar().addDays(services.calendar().startOfDay(now), -28);
  for (const auto& app : services.figures().topApps(from, now, 200)) {
    if (folded(app.id) == folded(bundleId)) return app.name;
  }
  return std::nullopt;
}

std::string isoText(Instant at) {
  return formatIso8601(at);
}

}  // namespace velto::cli
