#include "gui/report/report_rows.h"

namespace velto::gui {

std::vector<UsageRow> appDetails(UsageReport& report, const UsageRow& app) {
  std::vector<UsageRow> children;
  for (const DetailUsage& detail : report.detailRows(app.key)) {
    children.push_back({UsageRow::Kind::detail,
                        detail.key,
                        detail.label,
                        detail.seconds,
                        detail.count,
                        app.category,
                        {}});
  }
  return children;
}

std::vector<UsageRow> appRows(UsageReport& report) {
  std::vector<UsageRow> rows;
  // Copied first: detailRows() may recompute nothing, but keeps no promise about figures().
  const std::vector<AppUsage> apps = report.figures().byApp;
  // Details per site are a read of their own for each period shown; only opened rows need them.
  const bool later = report.figures().siteLevel;
  for (const AppUsage& app : apps) {
    UsageRow row{UsageRow::Kind::app, app.bundleId, app.appName, app.seconds,
                 app.count,           app.category, {}};
    if (later) {
      row.childrenLater = true;
    } else {
      row.children = appDetails(report, row);
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<UsageRow> categoryRows(const UsageFigures& figures) {
  std::vector<UsageRow> rows;
  for (const CategoryUsage& category : figures.byCategory) {
    UsageRow row{
        UsageRow::Kind::category, category.id, category.name, category.seconds, 0, category.id, {}};
    for (const AppUsage& app : figures.byApp) {
      if (app.category != category.id) continue;
      row.count += app.count;
      row.children.push_back({UsageRow::Kind::app,
                              app.bundleId,
                              app.appName,
                              app.seconds,
                              app.count,
                              app.category,
                              {}});
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<UsageRow> siteRows(const UsageFigures& figures) {
  std::vector<UsageRow> rows;
  for (const SiteUsage& site : figures.bySite) {
    rows.push_back({UsageRow::Kind::site, site.host, site.host, site.seconds, site.count, {}, {}});
  }
  return rows;
}

}  // namespace velto::gui
