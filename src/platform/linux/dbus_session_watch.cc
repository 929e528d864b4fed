#include "platform/linux/dbus_session_watch.h"

#include <unistd.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <cstdlib>

#include "base/log.h"

namespace velto::platform {

namespace {

const QString kLogind = QStringLiteral("org.freedesktop.login1");
const QString kLogindPath = QStringLiteral("/org/freedesktop/login1");
const QString kManager = QStringLiteral("org.freedesktop.login1.Manager");
const QString kSession = QStringLiteral("org.freedesktop.login1.Session");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
// Round trips to logind at start-up are bounded so a hung bus cannot stall the recorder.
constexpr int kCallTimeoutMs = 1000;

}  // namespace

DbusSessionWatch::DbusSessionWatch(std::function<void(SessionSignal)> signal)
    : signal_(std::move(signal)) {
  QDBusConnection system = QDBusConnection::systemBus();
  if (system.isConnected() && system.interface() != nullptr &&
      system.interface()->isServiceRegistered(kLogind).value()) {
    hasLogind_ = true;
    system.connect(kLogind, kLogindPath, kManager, QStringLiteral("PrepareForSleep"), this,
                   SLOT(prepareForSleep(bool)));
    sessionPath_ = findSessionPath();
    if (!sessionPath_.isEmpty()) {
      system.connect(kLogind, sessionPath_, kProperties, QStringLiteral("PropertiesChanged"), this,
                     SLOT(sessionPropertiesChanged(QString, QVariantMap, QStringList)));
    }
  }
  QDBusConnection session = QDBusConnection::sessionBus();
  if (session.isConnected()) {
    hasSessionBus_ = true;
    session.connect(QString(), QStringLiteral("/org/freedesktop/ScreenSaver"),
                    QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("ActiveChanged"),
                    this, SLOT(screenSaverActiveChanged(bool)));
    session.connect(QString(), QStringLiteral("/org/gnome/ScreenSaver"),
                    QStringLiteral("org.gnome.ScreenSaver"), QStringLiteral("ActiveChanged"), this,
                    SLOT(screenSaverActiveChanged(bool)));
  }
}

QString DbusSessionWatch::findSessionPath() {
  QDBusInterface manager(kLogind, kLogindPath, kManager, QDBusConnection::systemBus());
  manager.setTimeout(kCallTimeoutMs);
  if (const char* id = std::getenv("XDG_SESSION_ID"); id != nullptr && *id != '\0') {
    QDBusReply<QDBusObjectPath> reply =
        manager.call(QStringLiteral("GetSession"), QString::fromUtf8(id));
    if (reply.isValid()) return reply.value().path();
  }
  QDBusReply<QDBusObjectPath> byPid =
      manager.call(QStringLiteral("GetSessionByPID"), static_cast<uint>(::getpid()));
  if (byPid.isValid()) return byPid.value().path();
  QDBusReply<QDBusObjectPath> automatic =
      manager.call(QStringLiteral("GetSession"), QStringLiteral("auto"));
  if (automatic.isValid()) return automatic.value().path();
  log::info("No logind session for this process; lock and session switches are not seen");
  return {};
}

void DbusSessionWatch::prepareForSleep(bool sleeping) {
  if (signal_) signal_(sleeping ? SessionSignal::willSleep : SessionSignal::didWake);
}

void DbusSessionWatch::sessionPropertiesChanged(const QString& interface,
                                                const QVariantMap& changed,
                                                const QStringList& invalidated) {
  if (interface != kSession || !signal_) return;
  QVariantMap values = changed;
  if (invalidated.contains(QStringLiteral("LockedHint")) ||
      invalidated.contains(QStringLiteral("Active"))) {
    QDBusInterface properties(kLogind, sessionPath_, kProperties, QDBusConnection::systemBus());
    properties.setTimeout(kCallTimeoutMs);
    for (const QString& name : invalidated) {
      QDBusReply<QDBusVariant> reply = properties.call(QStringLiteral("Get"), kSession, name);
      if (reply.isValid()) values.insert(name, reply.value().variant());
    }
  }
  if (auto locked = values.constFind(QStringLiteral("LockedHint")); locked != values.constEnd()) {
    signal_(locked->toBool() ? SessionSignal::screenLocked : SessionSignal::screenUnlocked);
  }
  if (auto active = values.constFind(QStringLiteral("Active")); active != values.constEnd()) {
    signal_(active->toBool() ? SessionSignal::sessionDidBecomeActive
                             : SessionSignal::sessionDidResignActive);
  }
}

void DbusSessionWatch::screenSaverActiveChanged(bool active) {
  if (signal_) {
    signal_(active ? SessionSignal::screenSaverStarted : SessionSignal::screenSaverStopped);
  }
}

}  // namespace velto::platform
