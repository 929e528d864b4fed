// A client of the desktop's notification server (org.freedesktop.Notifications on the session
// bus). Notifications are posted with the caller's own id; posting the same id again replaces
// the one still shown. Authorised means a server owns the name right now. A click on a
// notification (the "default" action) is reported with the caller's id.
//
// Thread: main thread (the Qt event loop's, which delivers ActionInvoked).
#pragma once

#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "base/result.h"

namespace velto::platform {

class DesktopNotifications final : public QObject {
  Q_OBJECT

 public:
  // `appName` is shown by the server as the sender ("Velto").
  explicit DesktopNotifications(std::string appName);

  bool isAuthorised() const;
  // Shows a notification; fails with the bus's message when no server answers within 2 s.
  Status post(const std::string& id, const std::string& title, const std::string& body);
  // Removes a notification still shown; harmless when it is gone.
  void withdraw(const std::string& id);

  // Called with the id of a notification the user clicked.
  std::function<void(const std::string& id)> onActivated;

 private Q_SLOTS:
  void actionInvoked(uint serverId, const QString& action);
  void notificationClosed(uint serverId, uint reason);

 private:
  std::string appName_;
  bool connected_ = false;
  std::map<std::uint32_t, std::string> byServerId_;
  std::map<std::string, std::uint32_t> byId_;
};

}  // namespace velto::platform
