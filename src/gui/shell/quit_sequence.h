// Quitting in two steps: the first request stops the services (the open segment closes with
// "appQuit" and the checkpoint goes) and ends the process 2 s later, so the store and the
// notification server can finish; a second request during those 2 s ends it at once.
// Thread: main thread.
#pragma once

#include <functional>

#include "base/scheduler.h"

namespace velto {
class ServiceSet;
}

namespace velto::gui {

class QuitSequence {
 public:
  static constexpr double kTerminationDelaySeconds = 2;

  // `terminate` ends the event loop; called once at most. `services` must outlive this object.
  QuitSequence(ServiceSet& services, Scheduler& scheduler, std::function<void()> terminate);

  void request();
  bool isQuitting() const { return quitting_; }

 private:
  void finish();

  ServiceSet& services_;
  Scheduler& scheduler_;
  std::function<void()> terminate_;
  bool quitting_ = false;
  bool finished_ = false;
  Timer delay_;
};

}  // namespace velto::gui
