// Merges the session signals of several sources (X11, logind, screen-saver services, the clock
// watch) into the one SessionEventSource the engine listens to.
//
// Two sources often report the same change (the X11 screen saver and the ScreenSaver service;
// LockedHint and a locker's own signal), and some report a state at start-up that never began:
// each start/stop pair is passed on only when it changes that pair's state, which starts at
// "not suspended". Clock and zone changes always pass.
//
// Thread: main thread.
#pragma once

#include <array>
#include <functional>

#include "recording/platform_sources.h"

namespace velto::platform {

class SessionSignalHub final : public SessionEventSource {
 public:
  void setHandler(std::function<void(SessionSignal)> handler) override;
  void deliver(SessionSignal signal);

 private:
  std::function<void(SessionSignal)> handler_;
  // sleep, display sleep, session inactive, lock, screen saver
  std::array<bool, 5> suspended_{};
};

}  // namespace velto::platform
