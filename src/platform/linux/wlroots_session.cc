#include "platform/linux/wlroots_session.h"

#include <wayland-client.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>

#include "base/log.h"
#include "platform/linux/backend_choice.h"
#include "platform/linux/sway_ipc.h"
#include "platform/linux/wayland_globals.h"
#include "wlr-foreign-toplevel-management-unstable-v1-client-protocol.h"

namespace velto::platform {

// ---- ToplevelList --------------------------------------------------------------------------

std::uint64_t ToplevelList::add() {
  const std::uint64_t id = nextId_++;
  pending_[id] = {};
  return id;
}

void ToplevelList::setTitle(std::uint64_t id, std::string title) {
  if (auto found = pending_.find(id); found != pending_.end())
    found->second.title = std::move(title);
}

void ToplevelList::setAppId(std::uint64_t id, std::string appId) {
  if (auto found = pending_.find(id); found != pending_.end())
    found->second.appId = std::move(appId);
}

void ToplevelList::setActivated(std::uint64_t id, bool activated) {
  if (auto found = pending_.find(id); found != pending_.end()) found->second.activated = activated;
}

void ToplevelList::done(std::uint64_t id) {
  auto pending = pending_.find(id);
  if (pending == pending_.end()) return;
  auto applied = applied_.find(id);
  const bool wasActivated = applied != applied_.end() && applied->second.activated;
  if (pending->second.activated && !wasActivated) becameActivated_ = id;
  applied_[id] = pending->second;
}

void ToplevelList::closed(std::uint64_t id) {
  pending_.erase(id);
  applied_.erase(id);
  if (becameActivated_ == id) becameActivated_ = 0;
}

const ToplevelList::Toplevel* ToplevelList::find(std::uint64_t id) const {
  auto found = applied_.find(id);
  return found == applied_.end() ? nullptr : &found->second;
}

ToplevelList::Settled ToplevelList::settle() {
  auto activated = [this](std::uint64_t id) {
    const Toplevel* toplevel = find(id);
    return toplevel != nullptr && toplevel->activated;
  };
  std::uint64_t front = 0;
  if (becameActivated_ != 0 && activated(becameActivated_)) {
    front = becameActivated_;
  } else if (front_ != 0 && activated(front_)) {
    front = front_;
  } else {
    for (const auto& [id, toplevel] : applied_) {
      if (toplevel.activated) {
        front = id;
        break;
      }
    }
  }
  becameActivated_ = 0;
  Settled settled;
  const Toplevel* now = find(front);
  const std::string appId = now != nullptr ? now->appId : std::string();
  const std::string title = now != nullptr ? now->title : std::string();
  if (front != front_ || appId != frontAppId_) {
    settled.frontChanged = true;
  } else if (title != frontTitle_) {
    settled.titleChanged = true;
  }
  front_ = front;
  frontAppId_ = appId;
  frontTitle_ = title;
  return settled;
}

// ---- Wayland listeners ---------------------------------------------------------------------

struct WlrootsSession::Handle {
  WlrootsSession* session;
  std::uint64_t id;
  zwlr_foreign_toplevel_handle_v1* proxy;
};

namespace {

constexpr std::uint32_t kToplevelListVersion = 3;
// A sway IPC answer comes in well under a millisecond; the loop waits no longer than this.
constexpr std::chrono::milliseconds kSwayTimeout{250};

WlrootsSession::Handle* handleOf(void* data) {
  return static_cast<WlrootsSession::Handle*>(data);
}

const wl_registry_listener kRegistryListener = {
    [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
       std::uint32_t version) {
      static_cast<WlrootsSession*>(data)->globalAdded(registry, name, interface, version);
    },
    [](void*, wl_registry*, std::uint32_t) {},
};

const zwlr_foreign_toplevel_handle_v1_listener kToplevelListener = {
    // title
    [](void* data, zwlr_foreign_toplevel_handle_v1*, const char* title) {
      WlrootsSession::Handle* handle = handleOf(data);
      handle->session->toplevelList().setTitle(handle->id, title != nullptr ? title : "");
    },
    // app_id
    [](void* data, zwlr_foreign_toplevel_handle_v1*, const char* appId) {
      WlrootsSession::Handle* handle = handleOf(data);
      handle->session->toplevelList().setAppId(handle->id, appId != nullptr ? appId : "");
    },
    // output_enter, output_leave
    [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    // state: every state the toplevel has now, replacing the earlier ones
    [](void* data, zwlr_foreign_toplevel_handle_v1*, wl_array* states) {
      WlrootsSession::Handle* handle = handleOf(data);
      bool activated = false;
      const auto* state = static_cast<const std::uint32_t*>(states->data);
      for (size_t i = 0; i < states->size / sizeof(std::uint32_t); ++i) {
        activated = activated || state[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED;
      }
      handle->session->toplevelList().setActivated(handle->id, activated);
    },
    // done
    [](void* data, zwlr_foreign_toplevel_handle_v1*) {
      WlrootsSession::Handle* handle = handleOf(data);
      handle->session->toplevelList().done(handle->id);
    },
    // closed
    [](void* data, zwlr_foreign_toplevel_handle_v1*) {
      WlrootsSession::Handle* handle = handleOf(data);
      handle->session->toplevelClosed(handle);
    },
    // parent
    [](void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {},
};

const zwlr_foreign_toplevel_manager_v1_listener kManagerListener = {
    [](void* data, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* handle) {
      static_cast<WlrootsSession*>(data)->toplevelAnnounced(handle);
    },
    [](void* data, zwlr_foreign_toplevel_manager_v1*) {
      static_cast<WlrootsSession*>(data)->listFinished();
    },
};

}  // namespace

// ---- WlrootsSession ------------------------------------------------------------------------

WlrootsSession::WlrootsSession(EventLoop& loop, Scheduler& scheduler) : scheduler_(scheduler) {
  const char* name = std::getenv("WAYLAND_DISPLAY");
  if (name == nullptr || *name == '\0') return;
  display_ = wl_display_connect(nullptr);
  if (display_ == nullptr) {
    log::error("Cannot connect to the Wayland compositor %{public}s", std::string(name));
    return;
  }
  registry_ = wl_display_get_registry(display_);
  wl_registry_add_listener(registry_, &kRegistryListener, this);
  if (wl_display_roundtrip(display_) < 0) {
    log::error("The Wayland compositor %{public}s does not answer", std::string(name));
    disconnect();
    return;
  }
  if (manager_ == nullptr) {
    log::error(
        "The Wayland compositor %{public}s offers no toplevel list "
        "(zwlr_foreign_toplevel_manager_v1); windows cannot be followed",
        std::string(name));
    disconnect();
    return;
  }
  // The toplevels that are open now, each up to its first `done`.
  if (wl_display_roundtrip(display_) < 0) {
    log::error("The Wayland compositor %{public}s does not answer", std::string(name));
    disconnect();
    return;
  }
  connected_ = true;
  idle_ = std::make_unique<WaylandIdleWatch>(loop);
  if (const char* sway = std::getenv("SWAYSOCK"); sway != nullptr) swaySocket_ = sway;
  entries_ = DesktopEntryIndex::load(DesktopEntryIndex::applicationFolders());
  settle(false);
  watch_ = std::make_unique<FdWatch>(loop, wl_display_get_fd(display_), [this] { dispatch(); });
  // Events read during the round trips but not yet dispatched do not wake the descriptor.
  scheduler_.post([this, alive = std::weak_ptr<bool>(alive_)] {
    if (!alive.expired()) dispatch();
  });
}

WlrootsSession::~WlrootsSession() {
  disconnect();
}

void WlrootsSession::disconnect() {
  watch_.reset();
  connected_ = false;
  for (auto& [id, handle] : handles_) zwlr_foreign_toplevel_handle_v1_destroy(handle->proxy);
  handles_.clear();
  if (manager_ != nullptr) zwlr_foreign_toplevel_manager_v1_destroy(manager_);
  if (registry_ != nullptr) wl_registry_destroy(registry_);
  if (display_ != nullptr) wl_display_disconnect(display_);
  manager_ = nullptr;
  registry_ = nullptr;
  display_ = nullptr;
  idle_.reset();
}

void WlrootsSession::globalAdded(wl_registry* registry, std::uint32_t name, const char* interface,
                                 std::uint32_t version) {
  const std::string_view which = interface;
  if (which == zwlr_foreign_toplevel_manager_v1_interface.name && manager_ == nullptr) {
    manager_ = static_cast<zwlr_foreign_toplevel_manager_v1*>(
        wl_registry_bind(registry, name, &zwlr_foreign_toplevel_manager_v1_interface,
                         std::min(version, kToplevelListVersion)));
    zwlr_foreign_toplevel_manager_v1_add_listener(manager_, &kManagerListener, this);
  }
}

void WlrootsSession::toplevelAnnounced(zwlr_foreign_toplevel_handle_v1* proxy) {
  const std::uint64_t id = toplevels_.add();
  auto handle = std::make_unique<Handle>(Handle{this, id, proxy});
  zwlr_foreign_toplevel_handle_v1_add_listener(proxy, &kToplevelListener, handle.get());
  handles_[id] = std::move(handle);
}

void WlrootsSession::toplevelClosed(Handle* handle) {
  const std::uint64_t id = handle->id;
  toplevels_.closed(id);
  pids_.erase(id);
  zwlr_foreign_toplevel_handle_v1_destroy(handle->proxy);
  handles_.erase(id);  // `handle` is gone from here on
}

void WlrootsSession::listFinished() {
  // The compositor stops reporting toplevels (it is shutting down); the connection going away
  // ends the session.
  if (manager_ != nullptr) zwlr_foreign_toplevel_manager_v1_destroy(manager_);
  manager_ = nullptr;
}

void WlrootsSession::dispatch() {
  if (!connected_) return;
  if (!readAndDispatch(display_)) return lost("read");
  settle(true);
}

void WlrootsSession::lost(const char* why) {
  const int error = wl_display_get_error(display_);
  log::error(
      "Lost the connection to the Wayland compositor (%{public}s: %{public}s); window "
      "tracking stops",
      std::string(why), std::string(std::strerror(error != 0 ? error : EPIPE)));
  disconnect();
  toplevels_ = ToplevelList();
  pids_.clear();
  const bool hadFront = front_.has_value();
  front_.reset();
  if (hadFront && activation_) activation_(std::nullopt);
}

void WlrootsSession::settle(bool notify) {
  const ToplevelList::Settled settled = toplevels_.settle();
  if (settled.frontChanged) {
    front_ = toplevels_.front() != 0 ? applicationOf(toplevels_.front(), true) : std::nullopt;
    if (notify && activation_) activation_(front_);
  } else if (settled.titleChanged) {
    if (onChange_ && observedWindow_ == toplevels_.front()) onChange_();
  }
}

int WlrootsSession::pidOf(std::uint64_t id, bool askSway) {
  if (auto known = pids_.find(id); known != pids_.end()) return known->second;
  const ToplevelList::Toplevel* toplevel = toplevels_.find(id);
  if (toplevel == nullptr || !askSway || swaySocket_.empty()) return 0;
  const std::optional<std::string> tree = swayGetTree(swaySocket_, kSwayTimeout);
  if (!tree) {
    log::debug("No layout tree from sway at %{public}s", swaySocket_);
    return 0;
  }
  const int pid = swayWindowPid(*tree, toplevel->appId, toplevel->title, id == toplevels_.front());
  // A process never changes for a window; remember it once known.
  if (pid > 0) pids_[id] = pid;
  return pid;
}

std::optional<RunningApplication> WlrootsSession::applicationOf(std::uint64_t id, bool askSway) {
  const ToplevelList::Toplevel* toplevel = toplevels_.find(id);
  if (toplevel == nullptr) return std::nullopt;
  const int pid = pidOf(id, askSway);
  RunningApplication app =
      entries_.identify(WindowNames{{}, {}, toplevel->appId, executableName(pid)}, pid);
  app.windowId = id;
  return app;
}

std::optional<RunningApplication> WlrootsSession::frontmostApplication() {
  return front_;
}

void WlrootsSession::setActivationHandler(
    std::function<void(const std::optional<RunningApplication>&)> handler) {
  activation_ = std::move(handler);
}

bool WlrootsSession::observe(const RunningApplication& window, std::function<void()> onChange) {
  if (!connected_) return false;
  observedWindow_ = window.windowId != 0 ? window.windowId : toplevels_.front();
  onChange_ = std::move(onChange);
  return true;
}

void WlrootsSession::stop() {
  observedWindow_ = 0;
  onChange_ = nullptr;
}

std::optional<std::string> WlrootsSession::focusedWindowTitle(const RunningApplication& window) {
  if (!connected_) return std::nullopt;
  const std::uint64_t id = window.windowId != 0 ? window.windowId : toplevels_.front();
  const ToplevelList::Toplevel* toplevel = toplevels_.find(id);
  if (toplevel == nullptr || toplevel->title.empty()) return std::nullopt;
  return toplevel->title;
}

double WlrootsSession::secondsSinceLastInput() {
  return connected_ && idle_ ? idle_->secondsSinceLastInput() : 0;
}

std::vector<RunningApplication> WlrootsSession::clientApplications() {
  std::vector<RunningApplication> apps;
  if (!connected_) return apps;
  // One layout tree for every toplevel whose process is not known yet.
  std::optional<std::string> tree;
  std::set<int> seen;
  for (const auto& [id, toplevel] : toplevels_.toplevels()) {
    int pid = 0;
    if (auto known = pids_.find(id); known != pids_.end()) {
      pid = known->second;
    } else if (!swaySocket_.empty()) {
      if (!tree) tree = swayGetTree(swaySocket_, kSwayTimeout).value_or(std::string());
      pid = swayWindowPid(*tree, toplevel.appId, toplevel.title, id == toplevels_.front());
      if (pid > 0) pids_[id] = pid;
    }
    if (pid <= 0 || !seen.insert(pid).second) continue;
    RunningApplication app =
        entries_.identify(WindowNames{{}, {}, toplevel.appId, executableName(pid)}, pid);
    app.windowId = id;
    apps.push_back(std::move(app));
  }
  return apps;
}

std::unique_ptr<DesktopSession> makeWlrootsSession(EventLoop& loop, Scheduler& scheduler) {
  return std::make_unique<WlrootsSession>(loop, scheduler);
}

}  // namespace velto::platform
