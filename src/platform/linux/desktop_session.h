// One desktop backend: the window in front and its title, and seconds since the last input, as
// one display server or compositor tells them (X11, a wlroots compositor, ...). LinuxDesktop
// holds exactly one, chosen at start-up.
//
// Thread: the loop's thread.
#pragma once

#include <string>
#include <vector>

#include "recording/platform_sources.h"

namespace velto::platform {

class DesktopSession : public FrontmostAppSource, public WindowTitleSource, public IdleTimeSource {
 public:
  // The backend's name as `VELTO_BACKEND` and `velto status` spell it ("x11", "wlroots").
  virtual const char* name() const = 0;
  // Connected to the display server: windows can be followed.
  virtual bool isConnected() const = 0;
  virtual bool hasIdleTime() const = 0;
  // Where idle time comes from ("XScreenSaver", "ext-idle-notify", ...); null without it.
  virtual const char* idleSource() const = 0;
  // Where the process of a window comes from ("_NET_WM_PID", "sway IPC"); null when the
  // desktop does not say, and the applications it reports carry pid 0 (terminal tools and
  // browser tabs, which read a window's process, are then not read).
  virtual const char* processSource() const = 0;
  // Why a session that is not connected cannot follow windows, as a catalog key for the user;
  // empty when the backend's general reason says it.
  virtual std::string unavailableReason() const { return {}; }
  // The applications of every window the desktop manages, one per process (for idle holds).
  virtual std::vector<RunningApplication> clientApplications() = 0;
};

}  // namespace velto::platform
