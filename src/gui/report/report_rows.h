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
};

// Applications at the computer, largest first, each with its detail breakdown when it has one.
std::vector<UsageRow> appRows(UsageReport& report);
// Categories, largest first, each with its applications.
std::vector<UsageRow> categoryRows(const UsageFigures& figures);
// Sites, largest first.
std::vector<UsageRow> siteRows(const UsageFigures& figures);

}  // namespace velto::gui
