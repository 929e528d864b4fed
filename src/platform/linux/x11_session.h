// The X11 session: the active window (_NET_ACTIVE_WINDOW on the root), its application
// (WM_CLASS, _NET_WM_PID with an XRes fallback, desktop entries), its title (_NET_WM_NAME,
// else WM_NAME), seconds since the last input and screen-saver state (MIT-SCREEN-SAVER), and
// display sleep (DPMS, polled every 10 s).
//
// Every change of active window is an activation, also between windows of one application, and
// so is the active window being destroyed or unmapped (then with nothing in front). Title
// changes are followed on the active window, whatever process owns it.
//
// Event-driven: the connection's socket wakes the event loop; nothing is polled except DPMS,
// which has no events. A session without a display (or one that goes away) answers none / 0 and
// says so through isConnected().
//
// Thread: the loop's thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/scheduler.h"
#include "platform/linux/desktop_entries.h"
#include "platform/linux/desktop_session.h"
#include "platform/linux/event_loop.h"
#include "recording/platform_sources.h"

struct xcb_connection_t;

namespace velto::platform {

class X11Session final : public DesktopSession {
 public:
  // `sessionSignal` receives screen-saver and display-sleep changes.
  X11Session(EventLoop& loop, Scheduler& scheduler,
             std::function<void(SessionSignal)> sessionSignal);
  ~X11Session() override;
  X11Session(const X11Session&) = delete;
  X11Session& operator=(const X11Session&) = delete;

  const char* name() const override { return "x11"; }
  bool isConnected() const override;
  bool hasIdleTime() const override { return hasScreenSaver_; }
  const char* idleSource() const override { return hasScreenSaver_ ? "XScreenSaver" : nullptr; }
  const char* processSource() const override { return "_NET_WM_PID"; }
  bool hasDpms() const { return hasDpms_; }

  std::optional<RunningApplication> frontmostApplication() override;
  void setActivationHandler(
      std::function<void(const std::optional<RunningApplication>&)> handler) override;

  bool observe(const RunningApplication& window, std::function<void()> onChange) override;
  void stop() override;
  std::optional<std::string> focusedWindowTitle(const RunningApplication& window) override;

  double secondsSinceLastInput() override;

  // The applications of every managed window (_NET_CLIENT_LIST), one per process.
  std::vector<RunningApplication> clientApplications() override;

 private:
  struct Property {
    std::uint32_t type = 0;
    std::string bytes;
  };
  std::optional<Property> property(std::uint32_t window, std::uint32_t atom, std::uint32_t type);
  std::uint32_t atom(const char* name);
  std::optional<std::string> title(std::uint32_t window);
  int pidOf(std::uint32_t window);
  std::optional<RunningApplication> applicationOf(std::uint32_t window);
  void refreshActiveWindow(bool notify);
  void titleMayHaveChanged();
  void activeWindowGone();
  void drain();
  void drainSoon();
  void pollDpms();
  void lost();

  Scheduler& scheduler_;
  std::function<void(SessionSignal)> sessionSignal_;
  xcb_connection_t* connection_ = nullptr;
  std::uint32_t root_ = 0;
  std::unique_ptr<FdWatch> watch_;
  bool connected_ = false;
  bool hasScreenSaver_ = false;
  bool hasDpms_ = false;
  std::uint8_t screenSaverEvent_ = 0;
  struct {
    std::uint32_t activeWindow, wmName, netWmName, utf8, wmPid, clientList;
  } atoms_{};

  DesktopEntryIndex entries_;
  std::uint32_t active_ = 0;
  std::optional<RunningApplication> front_;
  std::optional<std::string> lastTitle_;
  std::function<void(const std::optional<RunningApplication>&)> activation_;
  std::uint32_t observedWindow_ = 0;
  std::function<void()> onChange_;
  bool drainPending_ = false;
  bool displaysAsleep_ = false;
  Timer dpmsPoll_;
};

}  // namespace velto::platform
