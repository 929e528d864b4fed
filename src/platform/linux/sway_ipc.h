// Sway's IPC, only as far as the wlroots session needs it: which process owns a window. The
// foreign-toplevel list names no process, so the session asks sway for its layout tree
// (GET_TREE) and finds the window's node there.
//
// The message format: the magic "i3-ipc", the payload's length and the message type as 32-bit
// integers in the machine's byte order, then the payload (JSON in replies).
//
// Thread: any.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velto::platform {

inline constexpr std::uint32_t kSwayGetTree = 4;

// One request: header and payload.
std::string swayIpcMessage(std::uint32_t type, std::string_view payload);

// The payload length and type of a reply header (the first 14 bytes); none when `header` is
// shorter or does not start with the magic.
struct SwayIpcHeader {
  std::uint32_t length = 0;
  std::uint32_t type = 0;
};
std::optional<SwayIpcHeader> parseSwayIpcHeader(std::string_view header);

// The process id of the window with `appId` and `title` in a GET_TREE reply: when `focused`
// (the window is the one in front) the focused view if it carries that app_id; else the only view
// with that app_id and title, else the only view with that app_id. 0 when none (or several) fit,
// the reply is not JSON, or the view has no pid. Views of X11 clients match on their window
// class instead of the app_id.
int swayWindowPid(std::string_view tree, std::string_view appId, std::string_view title,
                  bool focused);

// Sends GET_TREE to the socket at `path` and returns the reply's payload; none when the socket
// cannot be reached or answers nothing complete within `timeout` (in total). Blocks the caller
// for at most about `timeout`.
std::optional<std::string> swayGetTree(const std::string& path, std::chrono::milliseconds timeout);

}  // namespace velto::platform
