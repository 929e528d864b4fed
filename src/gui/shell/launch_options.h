// The command line of velto-gui. Only hidden switches, for screenshots and trying windows out:
//   --open=report | report-week | settings[:<pane>] | away | onboarding | tray-menu
//   --open=report:<period>[:<tab>]   period: day, yesterday, week, lastweek, month, year;
//                                    tab: overview, timeline, apps, categories, sites, hours,
//                                    trends
//   --write-summary                  presses the report's written-summary button
// Anything else is reported as unknown.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velto::gui {

struct LaunchOptions {
  enum class Open { nothing, report, reportWeek, settings, away, onboarding, trayMenu };
  Open open = Open::nothing;
  std::string pane;    // with Open::settings; empty: the first pane
  std::string period;  // with Open::report; empty: today
  std::string tab;     // with Open::report; empty: the tab it shows
  bool writeSummary = false;
  std::string unknown;  // the first argument not understood; empty when all were
};

LaunchOptions parseLaunchOptions(const std::vector<std::string>& args);

}  // namespace velto::gui
