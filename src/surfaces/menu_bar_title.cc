#include "surfaces/menu_bar_title.h"

#include <cmath>

#include "base/raw_values.h"
#include "base/strings.h"
#include "reports/duration_text.h"

namespace velto {

std::string_view rawValue(MenuBarDisplay mode) {
  return kMenuBarDisplayModes[static_cast<size_t>(mode)];
}

MenuBarDisplay menuBarDisplayFromRaw(std::string_view raw) {
  return enumFromRaw<MenuBarDisplay>(kMenuBarDisplayModes, raw).value_or(MenuBarDisplay::off);
}

std::string_view rawValue(MenuBarChipTone tone) {
  switch (tone) {
    case MenuBarChipTone::calm:
      return "calm";
    case MenuBarChipTone::near:
      return "near";
    case MenuBarChipTone::over:
      return "over";
  }
  return "calm";
}

namespace {

// Whole minutes (rounded up, so a minute left is not "0m") under an hour, else whole hours.
double roughly(double seconds) {
  if (seconds < 3600) return std::ceil(seconds / 60) * 60;
  return std::round(seconds / 3600) * 3600;
}

}  // namespace

MenuBarChipTone MenuBarTitle::limitTone(double spent, double amount,
                                        std::optional<double> warnRatio) {
  if (amount <= spent) return MenuBarChipTone::over;
  if (warnRatio &&
      ((amount > 0 && spent / amount >= *warnRatio) || (amount <= 0 && *warnRatio <= 0))) {
    return MenuBarChipTone::near;
  }
  return MenuBarChipTone::calm;
}

std::optional<LimitProgress> MenuBarTitle::chosenLimit(const std::vector<LimitProgress>& progress) {
  std::optional<LimitProgress> chosen;
  for (const LimitProgress& p : progress) {
    if (p.limit.kind != UsageLimit::Kind::limit) continue;
    if (!chosen || p.fraction() > chosen->fraction()) chosen = p;
  }
  return chosen;
}

std::optional<MenuBarChip> MenuBarTitle::chip(const Input& input) {
  const DurationText& duration = DurationText::forLanguage(input.language);
  // The day budget warms the chip in every mode but "limit".
  const MenuBarChipTone budgetTone =
      input.dayBudgetSeconds
          ? limitTone(input.todaySeconds, *input.dayBudgetSeconds, input.warnRatio)
          : MenuBarChipTone::calm;
  switch (input.mode) {
    case MenuBarDisplay::off:
      return std::nullopt;
    case MenuBarDisplay::todayTotal:
      return MenuBarChip{duration.format(input.todaySeconds), budgetTone};
    case MenuBarDisplay::currentApp:
      if (!input.currentAppName || input.currentAppName->empty()) return std::nullopt;
      return MenuBarChip{*input.currentAppName, budgetTone};
    case MenuBarDisplay::focused:
      return MenuBarChip{duration.format(input.focusedSeconds), budgetTone};
    case MenuBarDisplay::limit: {
      const std::optional<LimitProgress> limit = chosenLimit(input.progress);
      if (!limit) return MenuBarChip{duration.format(input.todaySeconds), budgetTone};
      const double rest = limit->amount - limit->spent;
      const std::string left =
          rest >= 0 ? duration.format(roughly(rest)) : "+" + duration.format(roughly(-rest));
      return MenuBarChip{i18n::text(input.language, "menubar.limit %@ %@",
                                    duration.format(limit->spent), duration.format(limit->amount)),
                         limitTone(limit->spent, limit->amount, input.warnRatio), limit->fraction(),
                         left};
    }
  }
  return std::nullopt;
}

}  // namespace velto
