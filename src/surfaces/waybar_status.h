// The one-line JSON a waybar "custom" module reads from `velto status --format waybar`:
// {"text", "tooltip", "class", "alt", "percentage"}. The text is the tray chip, or today's total
// when the chip shows the mark only; the class is the chip's tone ("calm", "near", "over");
// the tooltip lists today's top applications, one a line; "alt" is "paused" or "recording";
// "percentage" is today's share of the day budget (0-100), left out without a budget.
#pragma once

#include <string>
#include <vector>

#include "surfaces/menu_bar_title.h"
#include "surfaces/widget_snapshot.h"

namespace velto {

struct WaybarInput {
  MenuBarTitle::Input title;                      // today's figures and the user's chip settings
  std::vector<WidgetSnapshot::AppSlice> topApps;  // most first
  bool paused = false;
};

// A single line without a line feed.
std::string waybarLine(const WaybarInput& input);

}  // namespace velto
