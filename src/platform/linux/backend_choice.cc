#include "platform/linux/backend_choice.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "platform/linux/wayland_globals.h"

namespace velto::platform {

namespace {

// The toplevel list the wlroots backend follows the front window with.
constexpr std::string_view kToplevelManager = "zwlr_foreign_toplevel_manager_v1";

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

std::string lowered(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

// The desktops of XDG_CURRENT_DESKTOP with Wayland backends of their own.
enum class Desktop { other, gnome, kde };

Desktop desktopOf(std::string_view currentDesktop) {
  size_t start = 0;
  while (start <= currentDesktop.size()) {
    size_t end = currentDesktop.find(':', start);
    if (end == std::string_view::npos) end = currentDesktop.size();
    const std::string name = lowered(currentDesktop.substr(start, end - start));
    if (name == "gnome" || name.starts_with("gnome-")) return Desktop::gnome;
    if (name == "kde") return Desktop::kde;
    start = end + 1;
  }
  return Desktop::other;
}

BackendChoice noBackend(std::string reasonKey) {
  return BackendChoice{Backend::none, std::move(reasonKey), false};
}

BackendChoice onWayland(const BackendEnvironment& environment) {
  const Desktop desktop = desktopOf(environment.currentDesktop);
  if (environment.waylandGlobals) {
    const std::vector<std::string>& globals = *environment.waylandGlobals;
    if (std::find(globals.begin(), globals.end(), kToplevelManager) != globals.end()) {
      return BackendChoice{Backend::wlroots, {}, false};
    }
  } else if (desktop == Desktop::other) {
    // Not asked: the wlroots session finds out when it connects.
    return BackendChoice{Backend::wlroots, {}, false};
  }
  switch (desktop) {
    case Desktop::gnome:
      return BackendChoice{Backend::gnome, {}, false};
    case Desktop::kde:
      return BackendChoice{Backend::kwin, {}, false};
    case Desktop::other:
      break;
  }
  return noBackend("backend.none.noToplevelList");
}

}  // namespace

const char* backendName(Backend backend) {
  switch (backend) {
    case Backend::none:
      return "none";
    case Backend::x11:
      return "x11";
    case Backend::wlroots:
      return "wlroots";
    case Backend::kwin:
      return "kwin";
    case Backend::gnome:
      return "gnome";
  }
  return "none";
}

BackendEnvironment processBackendEnvironment() {
  BackendEnvironment environment{variable("XDG_SESSION_TYPE"), variable("WAYLAND_DISPLAY"),
                                 variable("DISPLAY"),          variable("XDG_CURRENT_DESKTOP"),
                                 variable("VELTO_BACKEND"),    std::nullopt};
  // The compositor is asked only when the choice would look at its answer.
  const bool automatic = environment.requested.empty() || environment.requested == "auto";
  if (automatic && environment.sessionType != "x11" && !environment.waylandDisplay.empty()) {
    environment.waylandGlobals = advertisedWaylandGlobals();
  }
  return environment;
}

Result<BackendChoice> chooseBackend(const BackendEnvironment& environment) {
  const std::string& requested = environment.requested;
  if (requested == "x11") return BackendChoice{Backend::x11, {}, true};
  if (requested == "wlroots") return BackendChoice{Backend::wlroots, {}, true};
  if (requested == "kwin") return BackendChoice{Backend::kwin, {}, true};
  if (requested == "gnome") return BackendChoice{Backend::gnome, {}, true};
  if (requested == "none") return BackendChoice{Backend::none, "backend.none.requested", true};
  if (!requested.empty() && requested != "auto") {
    return Error{"Unknown VELTO_BACKEND value \"" + requested +
                 "\" (expected x11, wlroots, kwin, gnome, none or auto)"};
  }

  // A session that says what it is is believed; one that does not (a compositor or X server
  // started from a text console keeps "tty") is known by the display it offers, Wayland first,
  // since a Wayland session with Xwayland offers both.
  const std::string& type = environment.sessionType;
  if (type == "x11") return BackendChoice{Backend::x11, {}, false};
  if (type == "wayland" || !environment.waylandDisplay.empty()) return onWayland(environment);
  // DISPLAY only, or nothing at all: the X11 session says when there is no display.
  return BackendChoice{Backend::x11, {}, false};
}

BackendChoice afterConnecting(BackendChoice choice, bool made, bool connected,
                              const std::string& sessionReason) {
  const char* reason = nullptr;
  switch (choice.backend) {
    case Backend::none:
    case Backend::x11:
      return choice;
    case Backend::wlroots:
      reason = "backend.none.compositor";
      break;
    case Backend::kwin:
      reason = "backend.none.kwinScript";
      break;
    case Backend::gnome:
      reason = "backend.none.gnomeExtension";
      break;
  }
  if (!made) return BackendChoice{Backend::none, "backend.none.notBuilt", choice.requested};
  if (connected) return choice;
  return BackendChoice{Backend::none, sessionReason.empty() ? reason : sessionReason,
                       choice.requested};
}

}  // namespace velto::platform
