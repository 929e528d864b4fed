// The interface names a Wayland compositor advertises, asked once over a short-lived
// connection so that the backend choice can see what the compositor offers before any session
// is made.
//
// Thread: any; blocks for one round trip to the compositor.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velto::platform {

// The globals of the compositor at $WAYLAND_DISPLAY (each interface name once, in the order
// advertised); none when WAYLAND_DISPLAY is unset or the compositor cannot be reached.
std::optional<std::vector<std::string>> advertisedWaylandGlobals();

}  // namespace velto::platform
