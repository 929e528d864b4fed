#include "platform/linux/wayland_idle.h"

#include <wayland-client.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "base/log.h"
#include "ext-idle-notify-v1-client-protocol.h"
#include "idle-client-protocol.h"
#include "platform/linux/wayland_globals.h"

namespace velto::platform {

namespace {

WaylandIdleWatch* watchOf(void* data) {
  return static_cast<WaylandIdleWatch*>(data);
}

const wl_registry_listener kRegistryListener = {
    [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
       std::uint32_t) { watchOf(data)->globalAdded(registry, name, interface); },
    [](void*, wl_registry*, std::uint32_t) {},
};

const ext_idle_notification_v1_listener kNotificationListener = {
    [](void* data, ext_idle_notification_v1*) { watchOf(data)->idleChanged(true); },
    [](void* data, ext_idle_notification_v1*) { watchOf(data)->idleChanged(false); },
};

const org_kde_kwin_idle_timeout_listener kKdeListener = {
    [](void* data, org_kde_kwin_idle_timeout*) { watchOf(data)->idleChanged(true); },
    [](void* data, org_kde_kwin_idle_timeout*) { watchOf(data)->idleChanged(false); },
};

}  // namespace

WaylandIdleWatch::WaylandIdleWatch(EventLoop& loop) {
  const char* name = std::getenv("WAYLAND_DISPLAY");
  if (name == nullptr || *name == '\0') return;
  display_ = wl_display_connect(nullptr);
  if (display_ == nullptr) return;
  registry_ = wl_display_get_registry(display_);
  wl_registry_add_listener(registry_, &kRegistryListener, this);
  if (wl_display_roundtrip(display_) < 0) {
    disconnect();
    return;
  }
  const auto timeoutMs = static_cast<std::uint32_t>(kTimeoutSeconds * 1000);
  if (seat_ != nullptr && notifier_ != nullptr) {
    notification_ = ext_idle_notifier_v1_get_idle_notification(notifier_, timeoutMs, seat_);
    ext_idle_notification_v1_add_listener(notification_, &kNotificationListener, this);
    kind_ = "ext-idle-notify";
  } else if (seat_ != nullptr && kdeIdle_ != nullptr) {
    kdeTimeout_ = org_kde_kwin_idle_get_idle_timeout(kdeIdle_, seat_, timeoutMs);
    org_kde_kwin_idle_timeout_add_listener(kdeTimeout_, &kKdeListener, this);
    kind_ = "org_kde_kwin_idle";
  } else {
    log::info("The Wayland compositor %{public}s offers no idle notification", std::string(name));
    disconnect();
    return;
  }
  if (wl_display_roundtrip(display_) < 0) {
    disconnect();
    return;
  }
  watch_ = std::make_unique<FdWatch>(loop, wl_display_get_fd(display_), [this] { dispatch(); });
}

WaylandIdleWatch::~WaylandIdleWatch() {
  disconnect();
}

void WaylandIdleWatch::disconnect() {
  watch_.reset();
  if (notification_ != nullptr) ext_idle_notification_v1_destroy(notification_);
  if (kdeTimeout_ != nullptr) org_kde_kwin_idle_timeout_release(kdeTimeout_);
  if (notifier_ != nullptr) ext_idle_notifier_v1_destroy(notifier_);
  if (kdeIdle_ != nullptr) org_kde_kwin_idle_destroy(kdeIdle_);
  if (seat_ != nullptr) wl_seat_destroy(seat_);
  if (registry_ != nullptr) wl_registry_destroy(registry_);
  if (display_ != nullptr) wl_display_disconnect(display_);
  notification_ = nullptr;
  kdeTimeout_ = nullptr;
  notifier_ = nullptr;
  kdeIdle_ = nullptr;
  seat_ = nullptr;
  registry_ = nullptr;
  display_ = nullptr;
  kind_ = nullptr;
  estimate_.resumed();
}

void WaylandIdleWatch::globalAdded(wl_registry* registry, std::uint32_t name,
                                   const char* interface) {
  const std::string_view which = interface;
  if (which == wl_seat_interface.name && seat_ == nullptr) {
    seat_ = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
  } else if (which == ext_idle_notifier_v1_interface.name && notifier_ == nullptr) {
    notifier_ = static_cast<ext_idle_notifier_v1*>(
        wl_registry_bind(registry, name, &ext_idle_notifier_v1_interface, 1));
  } else if (which == org_kde_kwin_idle_interface.name && kdeIdle_ == nullptr) {
    kdeIdle_ = static_cast<org_kde_kwin_idle*>(
        wl_registry_bind(registry, name, &org_kde_kwin_idle_interface, 1));
  }
}

double WaylandIdleWatch::now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - epoch_).count();
}

void WaylandIdleWatch::idleChanged(bool idle) {
  if (idle) {
    estimate_.idled(now());
  } else {
    estimate_.resumed();
  }
}

double WaylandIdleWatch::secondsSinceLastInput() const {
  return kind_ != nullptr ? estimate_.secondsSinceLastInput(now()) : 0;
}

void WaylandIdleWatch::dispatch() {
  if (!readAndDispatch(display_)) {
    log::error("Lost the connection to the Wayland compositor; idle time is not detected");
    disconnect();
  }
}

}  // namespace velto::platform
