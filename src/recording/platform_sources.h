// What recording needs from the desktop, as interfaces. The Linux implementations (X11, D-Bus,
// /proc) live in platform/linux; tests and velto-replay use scripted fakes.
//
// Thread: every call and every callback happens on the main thread. An implementation that
// learns of events on another thread posts them to the main thread first.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velto {

// An application with a window in front: the application, and which of its windows.
struct RunningApplication {
  RunningApplication() = default;
  RunningApplication(std::optional<std::string> bundleId, std::string appName, int pid,
                     std::uint64_t windowId = 0, std::vector<std::string> aliases = {})
      : bundleId(std::move(bundleId)),
        appName(std::move(appName)),
        pid(pid),
        windowId(windowId),
        aliases(std::move(aliases)) {}

  std::optional<std::string> bundleId;  // the desktop-file id or the lower-cased window class
  std::string appName;
  int pid = 0;
  // The desktop's handle of the window (an X11 window id, a Wayland toplevel's number); 0 where
  // the source does not tell windows apart. Two windows of one process differ only here.
  std::uint64_t windowId = 0;
  // Other names the window's application carries (StartupWMClass, WM_CLASS instance and class,
  // Wayland app_id, executable), for catalog lookups; see context/app_identity.h.
  std::vector<std::string> aliases;

  bool operator==(const RunningApplication&) const = default;
};

// Which application, and which of its windows, is in front, and a callback when that changes.
class FrontmostAppSource {
 public:
  virtual ~FrontmostAppSource() = default;
  virtual std::optional<RunningApplication> frontmostApplication() = 0;
  // `handler` is called at the instant the window in front changes, to another application or
  // to another window of the same one, with that window (none: nothing in front, which includes
  // a front window that was closed or unmapped). Passing an empty function stops the calls.
  virtual void setActivationHandler(
      std::function<void(const std::optional<RunningApplication>&)> handler) = 0;
};

// Title changes of the window in front, whatever process owns it.
class WindowTitleSource {
 public:
  virtual ~WindowTitleSource() = default;
  // Starts reporting title changes of `window` (as the front source reported it) through
  // `onChange`, replacing any earlier observation; false when it cannot be observed.
  virtual bool observe(const RunningApplication& window, std::function<void()> onChange) = 0;
  virtual void stop() = 0;
  // The title of `window` now; none when it has none or cannot be read.
  virtual std::optional<std::string> focusedWindowTitle(const RunningApplication& window) = 0;
};

// Seconds since the last keyboard or mouse input in this session.
class IdleTimeSource {
 public:
  virtual ~IdleTimeSource() = default;
  virtual double secondsSinceLastInput() = 0;
};

// Which processes hold the display awake, by the kind of hold.
class PowerAssertionSource {
 public:
  virtual ~PowerAssertionSource() = default;
  virtual std::vector<RunningApplication> runningApplications() = 0;
  // The hold types `pid` has ("PreventUserIdleDisplaySleep", "NoDisplaySleepAssertion", ...);
  // none when the query fails.
  virtual std::optional<std::vector<std::string>> assertionTypes(int pid) = 0;
};

// Raw session notifications, as the desktop reports them.
enum class SessionSignal {
  willSleep,
  didWake,
  screensDidSleep,
  screensDidWake,
  sessionDidResignActive,
  sessionDidBecomeActive,
  screenLocked,
  screenUnlocked,
  screenSaverStarted,
  screenSaverStopped,
  clockChanged,
  timeZoneChanged,
};

class SessionEventSource {
 public:
  virtual ~SessionEventSource() = default;
  // Passing an empty function stops the calls.
  virtual void setHandler(std::function<void(SessionSignal)> handler) = 0;
};

}  // namespace velto
