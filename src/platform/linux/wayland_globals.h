// What every Wayland client of the recorder shares: the interface names a compositor
// advertises, asked once over a short-lived connection so that the backend choice can see what
// the compositor offers before any session is made; and reading a connection's events from the
// event loop.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct wl_display;

namespace velto::platform {

// The globals of the compositor at $WAYLAND_DISPLAY (each interface name once, in the order
// advertised); none when WAYLAND_DISPLAY is unset or the compositor cannot be reached. Thread:
// any; blocks for one round trip.
std::optional<std::vector<std::string>> advertisedWaylandGlobals();

// Reads what the compositor sent, without waiting, and dispatches every pending event, flushing
// requests before and after. False when the connection broke. Thread: the display's.
bool readAndDispatch(wl_display* display);

}  // namespace velto::platform
