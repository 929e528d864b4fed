// The session of a wlroots compositor (sway and its kind), on libwayland-client: the toplevel
// in front and its title from the foreign-toplevel list (zwlr_foreign_toplevel_manager_v1), its
// application from the app_id and the desktop entries, its process from sway's IPC when
// SWAYSOCK names it (else pid 0), and idle time from the compositor's idle notification
// (WaylandIdleWatch, on a connection of its own).
//
// Every toplevel is a window with a number of its own (1, 2, ... in the order the compositor
// announced them; never reused). Every change of activated toplevel is an activation, also
// between toplevels of one app_id, and so is the front toplevel closing or losing its activated
// state with no other one activated (then with nothing in front). Title changes are reported for
// the observed window only.
//
// Event-driven: the Wayland socket wakes the event loop; the compositor's changes are applied
// once its pending events are dispatched, so a switch from one toplevel to another is one
// activation. A session without WAYLAND_DISPLAY, or whose compositor lacks the toplevel list,
// answers none / 0 and says so through isConnected().
//
// Thread: the loop's thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/scheduler.h"
#include "platform/linux/desktop_entries.h"
#include "platform/linux/desktop_session.h"
#include "platform/linux/event_loop.h"
#include "platform/linux/wayland_idle.h"
#include "recording/platform_sources.h"

struct wl_display;
struct wl_registry;
struct zwlr_foreign_toplevel_manager_v1;
struct zwlr_foreign_toplevel_handle_v1;

namespace velto::platform {

// The toplevels as the compositor reported them. Each toplevel's title, app_id and activated
// state change as a whole at its `done`; settle() then tells what the whole batch of events
// changed for the window in front.
class ToplevelList {
 public:
  struct Toplevel {
    std::string appId;
    std::string title;
    bool activated = false;
  };
  struct Settled {
    // Another toplevel (or none) is in front, or the front one's app_id changed.
    bool frontChanged = false;
    // Only the title of the toplevel in front changed.
    bool titleChanged = false;
  };

  // A new toplevel's number: 1, 2, ...
  std::uint64_t add();
  // Pending state of toplevel `id`, applied at its done(); unknown ids are ignored.
  void setTitle(std::uint64_t id, std::string title);
  void setAppId(std::uint64_t id, std::string appId);
  void setActivated(std::uint64_t id, bool activated);
  void done(std::uint64_t id);
  void closed(std::uint64_t id);

  // After a batch of events: the toplevel in front is the one that became activated last in
  // the batch, else the one in front before if it is still open and activated, else the first
  // open activated one, else none.
  Settled settle();

  // The toplevel in front as of the last settle(); 0 when none.
  std::uint64_t front() const { return front_; }
  // A toplevel's applied state; null when it is unknown or closed.
  const Toplevel* find(std::uint64_t id) const;
  const std::map<std::uint64_t, Toplevel>& toplevels() const { return applied_; }

 private:
  std::map<std::uint64_t, Toplevel> applied_;
  std::map<std::uint64_t, Toplevel> pending_;
  std::uint64_t nextId_ = 1;
  std::uint64_t front_ = 0;
  std::uint64_t becameActivated_ = 0;
  std::string frontAppId_;
  std::string frontTitle_;
};

class WlrootsSession final : public DesktopSession {
 public:
  // Connects to $WAYLAND_DISPLAY and reads the toplevels there now (blocking round trips).
  WlrootsSession(EventLoop& loop, Scheduler& scheduler);
  ~WlrootsSession() override;
  WlrootsSession(const WlrootsSession&) = delete;
  WlrootsSession& operator=(const WlrootsSession&) = delete;

  const char* name() const override { return "wlroots"; }
  bool isConnected() const override { return connected_; }
  // An idle notifier (ext_idle_notifier_v1 or org_kde_kwin_idle) on a seat.
  bool hasIdleTime() const override { return idleSource() != nullptr; }
  // "ext-idle-notify", "org_kde_kwin_idle"; null without idle time.
  const char* idleSource() const override { return idle_ ? idle_->source() : nullptr; }
  // "sway IPC" when SWAYSOCK names sway's socket; null otherwise.
  const char* processSource() const override { return swaySocket_.empty() ? nullptr : "sway IPC"; }

  std::optional<RunningApplication> frontmostApplication() override;
  void setActivationHandler(
      std::function<void(const std::optional<RunningApplication>&)> handler) override;

  bool observe(const RunningApplication& window, std::function<void()> onChange) override;
  void stop() override;
  std::optional<std::string> focusedWindowTitle(const RunningApplication& window) override;

  // Seconds since the last input, to within WaylandIdleWatch::kTimeoutSeconds.
  double secondsSinceLastInput() override;

  // The applications of every open toplevel, one per process; toplevels whose process is not
  // known (no sway IPC) are left out.
  std::vector<RunningApplication> clientApplications() override;

  // Listener entry points for the Wayland callbacks; not for other callers.
  struct Handle;
  void globalAdded(wl_registry* registry, std::uint32_t name, const char* interface,
                   std::uint32_t version);
  void toplevelAnnounced(zwlr_foreign_toplevel_handle_v1* handle);
  void toplevelClosed(Handle* handle);
  void listFinished();
  ToplevelList& toplevelList() { return toplevels_; }

 private:
  std::optional<RunningApplication> applicationOf(std::uint64_t id, bool askSway);
  int pidOf(std::uint64_t id, bool askSway);
  void dispatch();
  void settle(bool notify);
  void lost(const char* why);
  void disconnect();

  Scheduler& scheduler_;
  wl_display* display_ = nullptr;
  wl_registry* registry_ = nullptr;
  zwlr_foreign_toplevel_manager_v1* manager_ = nullptr;
  std::unique_ptr<FdWatch> watch_;
  bool connected_ = false;
  std::string swaySocket_;

  DesktopEntryIndex entries_;
  ToplevelList toplevels_;
  std::map<std::uint64_t, std::unique_ptr<Handle>> handles_;
  std::map<std::uint64_t, int> pids_;  // known processes of open toplevels
  std::optional<RunningApplication> front_;
  std::function<void(const std::optional<RunningApplication>&)> activation_;
  std::uint64_t observedWindow_ = 0;
  std::function<void()> onChange_;
  std::unique_ptr<WaylandIdleWatch> idle_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);  // for actions posted to the loop
};

}  // namespace velto::platform
