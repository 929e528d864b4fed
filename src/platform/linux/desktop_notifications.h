// A client of the desktop's notification server (org.freedesktop.Notifications on the session
// bus). Notifications are posted with the caller's own id; posting the same id again replaces
// the one still shown. Authorised means a server owns the name right now. A click on a
// notification (the "default" action) is reported with the caller's id.
//
// Thread: the loop's thread (the loop delivers ActionInvoked and NotificationClosed).
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "base/result.h"
#include "platform/linux/bus_connection.h"
#include "platform/linux/event_loop.h"

namespace velto::platform {

class DesktopNotifications final {
 public:
  // `appName` is shown by the server as the sender ("Velto").
  DesktopNotifications(EventLoop& loop, std::string appName);
  DesktopNotifications(const DesktopNotifications&) = delete;
  DesktopNotifications& operator=(const DesktopNotifications&) = delete;

  bool isAuthorised() const;
  // Shows a notification; fails with the bus's message when no server answers within 2 s.
  Status post(const std::string& id, const std::string& title, const std::string& body);
  // Removes a notification still shown; harmless when it is gone.
  void withdraw(const std::string& id);

  // Called with the id of a notification the user clicked.
  std::function<void(const std::string& id)> onActivated;

 private:
  void actionInvoked(std::uint32_t serverId, const std::string& action);
  void notificationClosed(std::uint32_t serverId);

  std::string appName_;
  bus::Connection bus_;
  std::map<std::uint32_t, std::string> byServerId_;
  std::map<std::string, std::uint32_t> byId_;
  std::vector<bus::Slot> matches_;
};

}  // namespace velto::platform
