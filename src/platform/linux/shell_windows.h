// The window in front as a desktop shell's own script or extension reports it (KWin, GNOME
// Shell): each report names the focused window by the shell's key for it, with its class,
// instance, application id, title and process, or says that nothing has focus.
//
// ShellWindows turns the reports into the session's activations: a window number per shell key
// (1, 2, ... in the order first seen; never reused), the application from the desktop entries
// as the other backends identify it, a title change when the window in front is reported again
// with another title. Shells report "nothing focused" for an instant between two windows; that
// report settles only after kUnfocusedSettle without another window, so a switch is one
// activation.
//
// Thread: the loop's thread (the scheduler's).
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/scheduler.h"
#include "platform/linux/desktop_entries.h"
#include "platform/linux/desktop_session.h"

namespace velto::platform {

struct ShellWindow {
  std::string key;          // the shell's id of the window; empty: nothing has focus
  std::string windowClass;  // WM_CLASS class or resource class
  std::string instance;     // WM_CLASS instance or resource name
  std::string appId;        // the shell's desktop-file id for it, without ".desktop"
  std::string title;
  int pid = 0;  // 0: unknown
};

// A session whose windows come from ShellWindows; subclasses connect to their shell, feed it
// reports, and say how idle time is learnt.
class ShellReportedSession : public DesktopSession {
 public:
  static constexpr double kUnfocusedSettleSeconds = 0.2;
  // Windows remembered for their process and number once they lost focus.
  static constexpr size_t kRememberedWindows = 64;

  ShellReportedSession(Scheduler& scheduler, DesktopEntryIndex entries);

  std::optional<RunningApplication> frontmostApplication() override { return front_; }
  void setActivationHandler(
      std::function<void(const std::optional<RunningApplication>&)> handler) override {
    activation_ = std::move(handler);
  }
  bool observe(const RunningApplication& window, std::function<void()> onChange) override;
  void stop() override;
  std::optional<std::string> focusedWindowTitle(const RunningApplication& window) override;
  // The applications of the windows reported lately, one per known process.
  std::vector<RunningApplication> clientApplications() override;

  // A report from the shell: `window` has focus (an empty key: nothing has).
  void reported(const ShellWindow& window);
  // The shell closed the window with `key`.
  void closed(const std::string& key);
  // The shell stopped reporting (it quit, or its script was removed): nothing in front.
  void lostShell();

 private:
  std::uint64_t numberOf(const std::string& key);
  RunningApplication applicationOf(const ShellWindow& window, std::uint64_t number) const;
  void setFront(const std::optional<ShellWindow>& window);

  Scheduler& scheduler_;
  DesktopEntryIndex entries_;
  std::map<std::string, std::uint64_t> numbers_;
  std::deque<ShellWindow> recent_;  // most recent first, at most kRememberedWindows
  std::uint64_t nextNumber_ = 1;
  std::optional<ShellWindow> frontWindow_;
  std::optional<RunningApplication> front_;
  std::function<void(const std::optional<RunningApplication>&)> activation_;
  std::uint64_t observed_ = 0;
  std::function<void()> onChange_;
  Timer unfocused_;
};

}  // namespace velto::platform
