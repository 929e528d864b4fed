// The message both desktop shell pieces send about the focused window: the KWin script as a
// call of the recorder's method, the GNOME Shell extension as a signal and as the reply of its
// GetFocus method. Its body is (key, class, instance, application id, title, pid) with D-Bus
// signature "sssssi"; an empty key means that nothing has focus.
//
// Thread: any.
#pragma once

#include <systemd/sd-bus.h>

#include <optional>

#include "platform/linux/shell_windows.h"

namespace velto::platform {

inline constexpr const char* kWindowReportSignature = "sssssi";

// The window a report names; none when the message's body is not a report. A desktop-file id
// loses its ".desktop"; a negative pid is unknown (0).
std::optional<ShellWindow> readWindowReport(sd_bus_message* message);

}  // namespace velto::platform
