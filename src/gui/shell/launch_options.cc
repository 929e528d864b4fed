#include "gui/shell/launch_options.h"

#include <string_view>

namespace velto::gui {

LaunchOptions parseLaunchOptions(const std::vector<std::string>& args) {
  LaunchOptions options;
  constexpr std::string_view kOpen = "--open=";
  for (const std::string& arg : args) {
    if (arg == "--write-summary") {
      options.writeSummary = true;
      continue;
    }
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
    } else if (what.starts_with("report:")) {
      options.open = report;
      const std::string_view view = what.substr(7);
      const size_t colon = view.find(':');
      options.period = std::string(view.substr(0, colon));
      if (colon != std::string_view::npos) options.tab = std::string(view.substr(colon + 1));
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
