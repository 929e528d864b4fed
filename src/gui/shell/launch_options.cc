#include "gui/shell/launch_options.h"

#include <string_view>

namespace velto::gui {

LaunchOptions parseLaunchOptions(const std::vector<std::string>& args) {
  LaunchOptions options;
  constexpr std::string_view kOpen = "--open=";
  for (const std::string& arg : args) {
    if (!arg.starts_with(kOpen)) {
      if (options.unknown.empty()) options.unknown = arg;
      continue;
    }
    const std::string_view what = std::string_view(arg).substr(kOpen.size());
    using enum LaunchOptions::Open;
    if (what == "report") {
      options.open = report;
    } else if (what == "report-week") {
      options.open = reportWeek;
    } else if (what == "settings" || what.starts_with("settings:")) {
      options.open = settings;
      if (what.size() > 9) options.pane = std::string(what.substr(9));
    } else if (what == "away") {
      options.open = away;
    } else if (what == "onboarding") {
      options.open = onboarding;
    } else if (what == "tray-menu") {
      options.open = trayMenu;
    } else if (options.unknown.empty()) {
      options.unknown = arg;
    }
  }
  return options;
}

}  // namespace velto::gui
