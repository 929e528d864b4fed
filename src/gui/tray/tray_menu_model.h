// The texts and state of the tray menu, from the running services: today's total, what is in
// front, whether recording is paused (and until when), and the tooltip. Recomputed on
// demand; the tray calls refresh() every 30 s and on store, settings and engine changes.
// Thread: main thread.
#pragma once

#include <optional>
#include <string>

#include "surfaces/menu_bar_title.h"

namespace velto {
class ServiceSet;
}

namespace velto::gui {

struct TrayMenuState {
  std::string todayText;  // "Today: 2h 15m"
  std::string frontText;  // "Now: Code", "Paused", "Paused until 14:30" or "Nothing recorded now"
  bool paused = false;
  // The limit the chip shows: "Limit on Code: 1h 5m of 2h today"; empty when it shows none.
  std::string limitText;
};

TrayMenuState trayMenuState(ServiceSet& services);
// "Velto - <chip>" (or "Velto" for the mark alone), the limit the chip shows, then the menu's
// two lines.
std::string trayTooltip(const std::optional<MenuBarChip>& chip, const TrayMenuState& state);

}  // namespace velto::gui
