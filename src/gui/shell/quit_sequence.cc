#include "gui/shell/quit_sequence.h"

#include "app/service_set.h"
#include "base/log.h"

namespace velto::gui {

QuitSequence::QuitSequence(ServiceSet& services, Scheduler& scheduler,
                           std::function<void()> terminate)
    : services_(services), scheduler_(scheduler), terminate_(std::move(terminate)) {}

void QuitSequence::request() {
  if (finished_) return;
  if (quitting_) {
    finish();
    return;
  }
  quitting_ = true;
  services_.quit();
  log::info("Quitting in %{public}s s", std::to_string(static_cast<int>(kTerminationDelaySeconds)));
  delay_ = scheduler_.after(kTerminationDelaySeconds, [this] { finish(); });
}

void QuitSequence::finish() {
  if (finished_) return;
  finished_ = true;
  delay_.cancel();
  if (terminate_) terminate_();
}

}  // namespace velto::gui
