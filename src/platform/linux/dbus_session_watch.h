// Session signals from D-Bus: logind's PrepareForSleep (system bus), the LockedHint and Active
// properties of this login session, and ActiveChanged of the org.freedesktop and org.gnome
// ScreenSaver services (session bus).
//
// The login session is $XDG_SESSION_ID's, else the one logind gives for this process, else
// logind's "auto" session. Missing buses or services are reported by the has*() queries and
// otherwise ignored.
//
// Thread: the loop's thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/bus_connection.h"
#include "platform/linux/event_loop.h"
#include "recording/platform_sources.h"

namespace velto::platform {

// What a PropertiesChanged signal of a login session says: the values it carries and the names
// it only invalidates (their values must be asked for).
struct SessionPropertyChange {
  std::optional<bool> lockedHint;
  std::optional<bool> active;
  std::vector<std::string> invalidated;
};

// Reads the body of org.freedesktop.DBus.Properties.PropertiesChanged ("sa{sv}as") when it is
// about org.freedesktop.login1.Session; none for another interface or a malformed body.
std::optional<SessionPropertyChange> parseSessionPropertiesChanged(sd_bus_message* message);

// The signals a session property change means, in order: lock first, then activity.
std::vector<SessionSignal> sessionSignals(const SessionPropertyChange& change);

class DbusSessionWatch final {
 public:
  DbusSessionWatch(EventLoop& loop, std::function<void(SessionSignal)> signal);
  DbusSessionWatch(const DbusSessionWatch&) = delete;
  DbusSessionWatch& operator=(const DbusSessionWatch&) = delete;

  bool hasLogind() const { return hasLogind_; }
  bool hasLoginSession() const { return !sessionPath_.empty(); }
  bool hasSessionBus() const { return session_ != nullptr; }

 private:
  std::string findSessionPath();
  void sessionPropertiesChanged(sd_bus_message* message);
  void deliver(SessionSignal signal);

  std::function<void(SessionSignal)> signal_;
  bus::Connection system_;
  bus::Connection session_;
  std::string sessionPath_;
  bool hasLogind_ = false;
  std::vector<bus::Slot> matches_;
};

}  // namespace velto::platform
