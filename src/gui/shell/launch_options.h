// The command line of velto-gui. Only hidden switches, for screenshots and trying windows out:
//   --open=report | report-week | settings[:<pane>] | away | onboarding | tray-menu
// Anything else is reported as unknown.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velto::gui {

struct LaunchOptions {
  enum class Open { nothing, report, reportWeek, settings, away, onboarding, trayMenu };
  Open open = Open::nothing;
  std::string pane;     // with Open::settings; empty: the first pane
  std::string unknown;  // the first argument not understood; empty when all were
};

LaunchOptions parseLaunchOptions(const std::vector<std::string>& args);

}  // namespace velto::gui
