// The tray's pause choices, applied to the engine of this process (the same state `velto pause`
// reaches through the command file): indefinitely, for a while, until the next midnight of the
// services' calendar, and resume.
// Thread: main thread.
#pragma once

namespace velto {
class ServiceSet;
}

namespace velto::gui {

class PauseActions {
 public:
  explicit PauseActions(ServiceSet& services) : services_(services) {}

  void pause();
  void pauseFor(double seconds);
  void pauseUntilTomorrow();
  void resume();
  bool isPaused() const;

 private:
  ServiceSet& services_;
};

}  // namespace velto::gui
