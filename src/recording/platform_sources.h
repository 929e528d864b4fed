// What recording needs from the desktop, as interfaces. The Linux implementations (X11, D-Bus,
// /proc) live in platform/linux; tests and velto-replay use scripted fakes.
//
// Thread: every call and every callback happens on the main thread. An implementation that
// learns of events on another thread posts them to the main thread first.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velto {

// An application with a window in front.
struct RunningApplication {
  std::optional<std::string> bundleId;  // the desktop-file id or the lower-cased window class
  std::string appName;
  int pid = 0;

  bool operator==(const RunningApplication&) const = default;
};

// Which application is in front, and a callback when that changes.
class FrontmostAppSource {
 public:
  virtual ~FrontmostAppSource() = default;
  virtual std::optional<RunningApplication> frontmostApplication() = 0;
  // `handler` is called with the new front application (none: nothing in front). Passing an
  // empty function stops the calls.
  virtual void setActivationHandler(
      std::function<void(const std::optional<RunningApplication>&)> handler) = 0;
};

// Title changes of one process's focused window.
class WindowTitleSource {
 public:
  virtual ~WindowTitleSource() = default;
  // Starts reporting changes of `pid`'s focused window (title, focused window, focused element)
  // through `onChange`; false when the process cannot be observed.
  virtual bool observe(int pid, std::function<void()> onChange) = 0;
  virtual void stop() = 0;
  // The title of `pid`'s focused window now; none when it has none or cannot be read.
  virtual std::optional<std::string> focusedWindowTitle(int pid) = 0;
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
