#include "app/menu_bar_input.h"

#include "app/service_set.h"

namespace velto {

MenuBarTitle::Input menuBarInput(ServiceSet& services) {
  const Instant now = services.clock().now();
  const DateInterval today = services.calendar().dayInterval(now);
  Settings& settings = services.settings();

  MenuBarTitle::Input input;
  input.mode = menuBarDisplayFromRaw(settings.menuBarDisplay(kMenuBarDisplayModes));
  input.language = services.language();
  input.todaySeconds = services.figures().totalSeconds(today.start, now);
  for (const CategoryChange& change :
       services.figures().categoryChanges(today.start, now, today.start, today.start)) {
    if (services.categories().focus(UsageCategory::fromRaw(change.category)) == FocusLabel::focus) {
      input.focusedSeconds += change.current;
    }
  }
  if (const auto& open = services.engine().recorder().openSegment()) {
    input.currentAppName = open->context.appName;
  }
  input.progress = services.limitMonitor().progress();
  input.warnRatio = settings.limitWarnRatio();
  input.dayBudgetSeconds = settings.dayBudgetSeconds();
  return input;
}

}  // namespace velto
