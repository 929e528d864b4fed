// Which desktop backend follows the window in front, decided once at start-up from the session's
// environment and, when known, the globals the Wayland compositor advertises.
//
// On a Wayland session the X11 backend is never chosen: Xwayland sees only its own clients, so
// it would report a partial front application as if it were the whole one. A compositor that
// offers the wlroots toplevel list gets the wlroots backend whatever the desktop is called;
// otherwise KDE Plasma gets the KWin script and GNOME the Shell extension. When no backend fits,
// the choice is "none" with the catalog key of the reason, and nothing is recorded from the
// desktop rather than something wrong. `VELTO_BACKEND` (x11, wlroots, kwin, gnome, none, auto)
// overrides the choice; any other value is an error.
//
// Thread: any (pure functions unless said otherwise), except makeWlrootsSession (the loop's
// thread).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace velto {
class Scheduler;
}

namespace velto::platform {

class DesktopSession;
class EventLoop;

enum class Backend { none, x11, wlroots, kwin, gnome };

// The backend's name as `VELTO_BACKEND` and `velto status` spell it ("none", "x11", "wlroots",
// "kwin", "gnome").
const char* backendName(Backend backend);

// What the choice looks at. Unset variables are empty strings.
struct BackendEnvironment {
  std::string sessionType;     // XDG_SESSION_TYPE: "x11", "wayland", "tty", ...
  std::string waylandDisplay;  // WAYLAND_DISPLAY
  std::string display;         // DISPLAY
  std::string currentDesktop;  // XDG_CURRENT_DESKTOP, colon-separated ("ubuntu:GNOME")
  std::string requested;       // VELTO_BACKEND
  // The interface names the compositor advertises, when they were asked for; none when not.
  std::optional<std::vector<std::string>> waylandGlobals;
};

// The variables of this process's environment and, on a Wayland session with no backend
// requested, the globals of the compositor at WAYLAND_DISPLAY (one blocking round trip; none
// when it cannot be reached). Thread: any.
BackendEnvironment processBackendEnvironment();

struct BackendChoice {
  Backend backend = Backend::none;
  std::string reasonKey;   // when none: catalog key of why ("backend.none.gnome", ...)
  bool requested = false;  // VELTO_BACKEND named it

  bool operator==(const BackendChoice&) const = default;
};

// The backend for `environment`; an error (for the log) when VELTO_BACKEND names no backend.
// Callers show the user "backend.error.unknown %@" with the value.
Result<BackendChoice> chooseBackend(const BackendEnvironment& environment);

// The choice once its session was made: a Wayland session that could not be made (`made`
// false: this build has none) or that did not connect leaves no backend, with the session's own
// reason (`sessionReason`, a catalog key) when it gave one, else the backend's: the compositor
// is unreachable or lacks the toplevel list, KWin refused the script, the Shell runs no
// extension. An X11 session that did not connect stays: it says so as the missing display, as
// it always has.
BackendChoice afterConnecting(BackendChoice choice, bool made, bool connected,
                              const std::string& sessionReason = {});

// What a session is made for: recording installs what the desktop needs to report its windows
// (the GNOME Shell extension); inspecting (velto status) only looks.
enum class SessionUse { recording, inspecting };

// The sessions, each defined with its backend; null when this build has none.
std::unique_ptr<DesktopSession> makeWlrootsSession(EventLoop& loop, Scheduler& scheduler);
std::unique_ptr<DesktopSession> makeKWinSession(EventLoop& loop, Scheduler& scheduler);
std::unique_ptr<DesktopSession> makeGnomeSession(EventLoop& loop, Scheduler& scheduler,
                                                 SessionUse use);

}  // namespace velto::platform
