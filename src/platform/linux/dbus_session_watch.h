// Session signals from D-Bus: logind's PrepareForSleep (system bus), the LockedHint and Active
// properties of this login session, and ActiveChanged of the org.freedesktop and org.gnome
// ScreenSaver services (session bus).
//
// The login session is $XDG_SESSION_ID's, else the one logind gives for this process, else
// logind's "auto" session. Missing buses or services are reported by the has*() queries and
// otherwise ignored.
//
// Thread: main thread (the Qt event loop's).
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>

#include "recording/platform_sources.h"

namespace velto::platform {

class DbusSessionWatch final : public QObject {
  Q_OBJECT

 public:
  explicit DbusSessionWatch(std::function<void(SessionSignal)> signal);

  bool hasLogind() const { return hasLogind_; }
  bool hasLoginSession() const { return !sessionPath_.isEmpty(); }
  bool hasSessionBus() const { return hasSessionBus_; }

 private Q_SLOTS:
  void prepareForSleep(bool sleeping);
  void sessionPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                const QStringList& invalidated);
  void screenSaverActiveChanged(bool active);

 private:
  QString findSessionPath();

  std::function<void(SessionSignal)> signal_;
  QString sessionPath_;
  bool hasLogind_ = false;
  bool hasSessionBus_ = false;
};

}  // namespace velto::platform
