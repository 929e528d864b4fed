#include "platform/linux/desktop_notifications.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

namespace velto::platform {

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
constexpr int kCallTimeoutMs = 2000;

}  // namespace

DesktopNotifications::DesktopNotifications(std::string appName) : appName_(std::move(appName)) {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  connected_ = true;
  bus.connect(kService, kPath, kService, QStringLiteral("ActionInvoked"), this,
              SLOT(actionInvoked(uint, QString)));
  bus.connect(kService, kPath, kService, QStringLiteral("NotificationClosed"), this,
              SLOT(notificationClosed(uint, uint)));
}

bool DesktopNotifications::isAuthorised() const {
  if (!connected_) return false;
  QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
  return bus != nullptr && bus->isServiceRegistered(kService).value();
}

Status DesktopNotifications::post(const std::string& id, const std::string& title,
                                  const std::string& body) {
  if (!connected_) return Error{"no session bus"};
  uint replaces = 0;
  if (auto found = byId_.find(id); found != byId_.end()) replaces = found->second;
  QDBusMessage call =
      QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("Notify"));
  QVariantMap hints;
  hints.insert(QStringLiteral("desktop-entry"), QStringLiteral("velto"));
  call << QString::fromStdString(appName_) << replaces << QString() << QString::fromStdString(title)
       << QString::fromStdString(body) << QStringList{QStringLiteral("default"), QString()} << hints
       << -1;
  QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, kCallTimeoutMs);
  if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
    return Error{reply.errorMessage().toStdString()};
  }
  const std::uint32_t serverId = reply.arguments().first().toUInt();
  if (replaces != 0 && replaces != serverId) byServerId_.erase(replaces);
  byServerId_[serverId] = id;
  byId_[id] = serverId;
  return Status::success();
}

void DesktopNotifications::withdraw(const std::string& id) {
  auto found = byId_.find(id);
  if (found == byId_.end() || !connected_) return;
  QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kService,
                                                     QStringLiteral("CloseNotification"));
  call << static_cast<uint>(found->second);
  QDBusConnection::sessionBus().call(call, QDBus::NoBlock);
  byServerId_.erase(found->second);
  byId_.erase(found);
}

void DesktopNotifications::actionInvoked(uint serverId, const QString& action) {
  if (action != QStringLiteral("default")) return;
  auto found = byServerId_.find(serverId);
  if (found == byServerId_.end()) return;
  if (onActivated) onActivated(found->second);
}

void DesktopNotifications::notificationClosed(uint serverId, uint /*reason*/) {
  auto found = byServerId_.find(serverId);
  if (found == byServerId_.end()) return;
  byId_.erase(found->second);
  byServerId_.erase(found);
}

}  // namespace velto::platform
