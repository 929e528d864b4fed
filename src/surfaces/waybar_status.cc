#include "surfaces/waybar_status.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/strings.h"
#include "reports/duration_text.h"

namespace velto {

std::string waybarLine(const WaybarInput& input) {
  const std::string& language = input.title.language;
  std::optional<MenuBarChip> chip = MenuBarTitle::chip(input.title);
  if (!chip) {
    // A bar module always shows something: the day, warmed by the day budget.
    MenuBarTitle::Input day = input.title;
    day.mode = MenuBarDisplay::todayTotal;
    chip = MenuBarTitle::chip(day);
  }
  const DurationText& duration = DurationText::forLanguage(language);
  std::string tooltip;
  for (const WidgetSnapshot::AppSlice& app : input.topApps) {
    if (!tooltip.empty()) tooltip += '\n';
    tooltip +=
        i18n::text(language, "status.waybar.app %@ %@", app.name, duration.format(app.seconds));
  }
  if (tooltip.empty()) tooltip = i18n::text(language, "status.waybar.nothing");

  nlohmann::ordered_json line;
  line["text"] = chip ? chip->text : duration.format(input.title.todaySeconds);
  line["tooltip"] = tooltip;
  line["class"] = std::string(rawValue(chip ? chip->tone : MenuBarChipTone::calm));
  line["alt"] = input.paused ? "paused" : "recording";
  if (input.title.dayBudgetSeconds && *input.title.dayBudgetSeconds > 0) {
    const double share = input.title.todaySeconds / *input.title.dayBudgetSeconds * 100;
    line["percentage"] = std::clamp<long long>(std::llround(share), 0, 100);
  }
  return line.dump();
}

}  // namespace velto
