// The rows of the report's lists (applications with their details, categories with their
// applications, sites), built from a report's figures. Plain values; the Qt model shows them.
// Thread: main thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "reports/usage_report.h"

namespace velto::gui {

struct UsageRow {
  enum class Kind { app, category, site, detail };

  Kind kind = Kind::app;
  std::string key;  // bundle id, category id, host or detail key
  std::string name;
  double seconds = 0;
  std::int64_t count = 0;
  std::string category;  // the category resolved now (apps); the category itself (categories)
  std::vector<UsageRow> children;
  // The children are not read yet: they are asked for when the row is opened.
  bool childrenLater = false;
};

// Applications at the computer, largest first, each with its detail breakdown when it has one.
// When the figures carry no details (totals per site), the breakdown is left for appDetails().
std::vector<UsageRow> appRows(UsageReport& report);
// The detail breakdown of one application row.
std::vector<UsageRow> appDetails(UsageReport& report, const UsageRow& app);
// Categories, largest first, each with its applications.
std::vector<UsageRow> categoryRows(const UsageFigures& figures);
// Sites, largest first.
std::vector<UsageRow> siteRows(const UsageFigures& figures);

}  // namespace velto::gui
