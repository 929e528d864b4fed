// What the commands that list and change the user's setup share: printing data and messages,
// subcommands ("velto limits add ..."), confirmation on a terminal, and reading the options that
// name a stretch of time.
//
// Conventions: data (lists, and with --json the changed object) goes to stdout; what a command
// changed and every error go to stderr as one line. Exit status: 0 done, 1 refused or failed
// (nothing written), 2 bad usage.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/service_set.h"
#include "base/calendar.h"
#include "base/result.h"
#include "categories/category_catalog.h"
#include "cli/command.h"
#include "cli/commands/report_session.h"

namespace velto::cli {

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kBadUsage = 2;

// One line on stdout.
void printLine(const std::string& text);
// A JSON document on stdout, indented by two spaces.
void printJson(const nlohmann::json& document);

// A subcommand: its name and what it does with the arguments after it.
struct Verb {
  std::string name;
  std::function<int(const std::vector<std::string>& args)> run;
};
// Runs the verb named by the first argument, or `fallback` when there is none or the first
// argument is an option (so `velto limits --json` lists). An unknown verb is bad usage, named
// with `usageKey`'s text.
int runVerb(const Invocation& invocation, const std::vector<Verb>& verbs, std::string_view fallback,
            std::string_view usageKey);

// Parses `args` as parseOptions does; on a bad option says so and gives none.
std::optional<ParsedOptions> options(const std::string& language,
                                     const std::vector<std::string>& args,
                                     const std::vector<std::string>& valued,
                                     const std::vector<std::string>& bare);

// True when the user typed `word` at the prompt `question` on a terminal; false without a
// terminal (scripts pass --yes instead).
bool confirmedOnTerminal(const std::string& question, const std::string& word);

// The stretch named by --date DAY, or --from INSTANT and --to INSTANT (parseInstantInput); an
// error naming the offending option when one is missing, malformed, or the stretch ends before
// it starts.
Result<DateInterval> rangeFromOptions(const ParsedOptions& options, const Calendar& calendar,
                                      Instant now, const std::string& language);

// The category `text` names: a built-in raw value or custom id, or the name the user sees in
// `language` (ignoring case). None when no category has that name.
std::optional<std::string> categoryNamed(const CategoryCatalog& catalog, std::string_view text,
                                         const std::string& language);

// The name `bundleId` was last recorded under over the last four weeks (ignoring case); none
// when it was not recorded.
std::optional<std::string> recordedAppName(ServiceSet& services, std::string_view bundleId);

// A JSON date-time for output: ISO 8601 in UTC.
std::string isoText(Instant at);

}  // namespace velto::cli
