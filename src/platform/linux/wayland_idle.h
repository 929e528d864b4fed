// Seconds since the last input on a Wayland compositor, from its idle notification
// (ext_idle_notifier_v1, else org_kde_kwin_idle) on a connection of its own to
// $WAYLAND_DISPLAY, dispatched by the recorder's event loop.
//
// The compositor only says "no input for kTimeoutSeconds" and "input again"; see IdleEstimate
// for what that makes of the seconds. An idle inhibitor (a playing video) keeps them at 0, as
// the compositor then reports no idle.
//
// Thread: the loop's thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "platform/linux/event_loop.h"

struct wl_display;
struct wl_registry;
struct wl_seat;
struct ext_idle_notifier_v1;
struct ext_idle_notification_v1;
struct org_kde_kwin_idle;
struct org_kde_kwin_idle_timeout;

namespace velto::platform {

// Seconds since the last input, from a notifier that only says "no input for `timeout`" and
// "input again". Times are seconds on a monotonic clock.
//
// Answers 0 until the notifier reports idle; from then on, the time since the instant of that
// report less the timeout (the last input). So it is exact once the user has been away longer
// than the timeout, and 0 (too low by up to the timeout) before that.
class IdleEstimate {
 public:
  explicit IdleEstimate(double timeoutSeconds) : timeout_(timeoutSeconds) {}
  void idled(double now) { lastInput_ = now - timeout_; }
  void resumed() { lastInput_.reset(); }
  double secondsSinceLastInput(double now) const {
    return lastInput_ && now > *lastInput_ ? now - *lastInput_ : 0;
  }

 private:
  double timeout_;
  std::optional<double> lastInput_;
};

class WaylandIdleWatch {
 public:
  // The notification's timeout: the granularity of secondsSinceLastInput().
  static constexpr double kTimeoutSeconds = 1;

  // Connects to $WAYLAND_DISPLAY and asks for the notification (blocking round trips).
  explicit WaylandIdleWatch(EventLoop& loop);
  ~WaylandIdleWatch();
  WaylandIdleWatch(const WaylandIdleWatch&) = delete;
  WaylandIdleWatch& operator=(const WaylandIdleWatch&) = delete;

  // "ext-idle-notify", "org_kde_kwin_idle"; null when the compositor offers neither (or cannot
  // be reached, or the connection was lost).
  const char* source() const { return kind_; }
  // 0 without a source.
  double secondsSinceLastInput() const;

  // Listener entry points for the Wayland callbacks; not for other callers.
  void globalAdded(wl_registry* registry, std::uint32_t name, const char* interface);
  void idleChanged(bool idle);

 private:
  double now() const;
  void dispatch();
  void disconnect();

  wl_display* display_ = nullptr;
  wl_registry* registry_ = nullptr;
  wl_seat* seat_ = nullptr;
  ext_idle_notifier_v1* notifier_ = nullptr;
  ext_idle_notification_v1* notification_ = nullptr;
  org_kde_kwin_idle* kdeIdle_ = nullptr;
  org_kde_kwin_idle_timeout* kdeTimeout_ = nullptr;
  const char* kind_ = nullptr;
  std::unique_ptr<FdWatch> watch_;
  IdleEstimate estimate_{kTimeoutSeconds};
  std::chrono::steady_clock::time_point epoch_ = std::chrono::steady_clock::now();
};

}  // namespace velto::platform
