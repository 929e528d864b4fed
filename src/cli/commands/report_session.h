// What the report, export and import commands share: the user's store, calendar and categories
// opened for one command, and the period options of `velto report`.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/calendar.h"
#include "base/clock.h"
#include "base/notice_bus.h"
#include "categories/category_catalog.h"
#include "categories/category_resolver.h"
#include "reports/report_period.h"
#include "reports/usage_report.h"
#include "reports/usage_rollup.h"
#include "settings/settings.h"
#include "store/persistence_controller.h"
#include "store/segment_store.h"

namespace velto::cli {

// How long a command waits for another process's write to the store (an import, the
// recorder's purge) before it gives up; it says once on stderr that it waits.
inline constexpr int kCommandBusyWaitMs = 30000;
void waitForOtherWriters(sql::Database& db, const std::string& language);
// What a command says when the store refused a change: a store held by another process past the
// wait in words of its own, anything else as "Nothing was changed: <error>".
std::string storeFailureText(const std::string& language, const std::string& error);

class ReportSession {
 public:
  explicit ReportSession(std::string language);

  const std::string language;
  NoticeBus notices;
  Calendar calendar;
  SystemClock clock;
  Settings settings;
  PersistenceController persistence;
  SegmentStore store;
  CategoryCatalog catalog;
  std::shared_ptr<const CategoryResolver> resolver;
  CategoryDirectory directory;
};

// Options as given: "--name value" pairs and bare flags. Unknown names or a missing value give
// the offending argument as the error.
struct ParsedOptions {
  std::map<std::string, std::string> values;
  std::vector<std::string> flags;
  std::vector<std::string> positional;
  bool has(const std::string& flag) const;
};
Result<ParsedOptions> parseOptions(const std::vector<std::string>& args,
                                   const std::vector<std::string>& valued,
                                   const std::vector<std::string>& bare);

// The options that name a period (each takes a value).
inline const std::vector<std::string> kPeriodOptions = {"--period", "--date", "--from", "--to",
                                                        "--preset"};

// The period named by --period, --date, --from/--to and --preset; today when none is given.
Result<ReportPeriod> periodFromOptions(const ParsedOptions& options, const Calendar& calendar,
                                       Instant now);

// The figures of the period `options` name, as `velto report` and `velto summary` show them.
// On failure says why on stderr, sets `status` to the command's exit status and gives none.
std::optional<UsageFigures> figuresForOptions(ReportSession& session, const ParsedOptions& options,
                                              int& status);

// Prints a catalog text with its arguments on stderr.
void complain(const std::string& text);

}  // namespace velto::cli
