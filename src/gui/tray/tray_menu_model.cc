#include "gui/tray/tray_menu_model.h"

#include "app/service_set.h"
#include "base/strings.h"
#include "gui/shell/local_time_text.h"
#include "reports/duration_text.h"

namespace velto::gui {

TrayMenuState trayMenuState(ServiceSet& services) {
  const MenuBarTitle::Input input = services.menuBarInput();
  const std::string& lang = input.language;
  TrayMenuState state;
  state.todayText =
      i18n::text(lang, "tray.today %@", DurationText::forLanguage(lang).format(input.todaySeconds));
  state.paused = services.engine().isPaused();
  if (state.paused) {
    const std::optional<Instant> until = services.settings().pausedUntil();
    state.frontText =
        until ? i18n::text(lang, "tray.pausedUntil %@", localTimeText(services.calendar(), *until))
              : i18n::text(lang, "tray.paused");
  } else if (input.currentAppName) {
    state.frontText = i18n::text(lang, "tray.now %@", *input.currentAppName);
  } else {
    state.frontText = i18n::text(lang, "tray.nothingNow");
  }
  if (input.mode == MenuBarDisplay::limit) {
    if (const std::optional<LimitProgress> limit = MenuBarTitle::chosenLimit(input.progress)) {
      state.limitText = i18n::text(lang, "tray.limit %@ %@",
                                   displayName(limit->limit.subject, &services.categories(), lang),
                                   limit->text(lang));
    }
  }
  return state;
}

std::string trayTooltip(const std::optional<MenuBarChip>& chip, const TrayMenuState& state) {
  std::string tooltip = "Velto";
  if (chip) tooltip += " - " + chip->text;
  if (!state.limitText.empty()) tooltip += "\n" + state.limitText;
  return tooltip + "\n" + state.todayText + "\n" + state.frontText;
}

}  // namespace velto::gui
