// The text chip beside the tray mark and its tone, as a pure function of today's figures.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "limits/limit_progress.h"

namespace velto {

enum class MenuBarDisplay { off, todayTotal, currentApp, limit, focused };
inline constexpr std::array<std::string_view, 5> kMenuBarDisplayModes = {
    "off", "todayTotal", "currentApp", "limit", "focused"};
std::string_view rawValue(MenuBarDisplay mode);
// The mode named by a stored value; anything else is off.
MenuBarDisplay menuBarDisplayFromRaw(std::string_view raw);

enum class MenuBarChipTone { calm, near, over };
std::string_view rawValue(MenuBarChipTone tone);

struct MenuBarChip {
  std::string text;
  MenuBarChipTone tone = MenuBarChipTone::calm;
  // "limit" mode with a limit shown: the share of it used (1 or more once used up) and, for a
  // picture too small for `text`, the time left ("50m", "2h": whole minutes under an hour, else
  // whole hours) or, once over, the time past it ("+10m").
  std::optional<double> used = std::nullopt;
  std::string left = {};
  bool operator==(const MenuBarChip&) const = default;
};

struct MenuBarTitle {
  struct Input {
    MenuBarDisplay mode = MenuBarDisplay::off;
    double todaySeconds = 0;
    double focusedSeconds = 0;
    std::optional<std::string> currentAppName;  // none: nothing recordable in front
    std::vector<LimitProgress> progress;        // enabled rules
    std::optional<double> warnRatio;            // none: early warning off
    std::optional<double> dayBudgetSeconds;     // none: no day budget
    std::string language = "en";
  };

  // None: the mark alone.
  static std::optional<MenuBarChip> chip(const Input& input);

  // The tone of a limit's progress: over once used up, near from the warn ratio on.
  static MenuBarChipTone limitTone(double spent, double amount, std::optional<double> warnRatio);
  // The limit shown in "limit" mode: the one furthest along (furthest past its amount first);
  // none without limits (goals do not count).
  static std::optional<LimitProgress> chosenLimit(const std::vector<LimitProgress>& progress);
};

}  // namespace velto
