#include "gui/shell/pause_actions.h"

#include "app/service_set.h"

namespace velto::gui {

void PauseActions::pause() {
  services_.engine().setPaused(true);
}

void PauseActions::pauseFor(double seconds) {
  services_.engine().pause(addSeconds(services_.clock().now(), seconds));
}

void PauseActions::pauseUntilTomorrow() {
  services_.engine().pause(services_.calendar().nextMidnight(services_.clock().now()));
}

void PauseActions::resume() {
  services_.engine().setPaused(false);
}

bool PauseActions::isPaused() const {
  return services_.engine().isPaused();
}

}  // namespace velto::gui
