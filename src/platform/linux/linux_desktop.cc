#include "platform/linux/linux_desktop.h"

#include "platform/linux/x11_session.h"

namespace velto::platform {

const char* missingSourceKey(MissingSource source) {
  switch (source) {
    case MissingSource::display:
      return "record.missing.display";
    case MissingSource::idleTime:
      return "record.missing.idleTime";
    case MissingSource::sessionBus:
      return "record.missing.sessionBus";
    case MissingSource::logind:
      return "record.missing.logind";
    case MissingSource::loginSession:
      return "record.missing.loginSession";
    case MissingSource::clockWatch:
      return "record.missing.clockWatch";
  }
  return "record.missing.display";
}

LinuxDesktop::LinuxDesktop()
    : scheduler_(loop_),
      session_(std::make_unique<X11Session>(
          loop_, scheduler_, [this](SessionSignal signal) { hub_.deliver(signal); })),
      dbus_(loop_, [this](SessionSignal signal) { hub_.deliver(signal); }),
      clockWatch_(loop_, [this](SessionSignal signal) { hub_.deliver(signal); }),
      power_([this] { return session_->clientApplications(); }),
      tabs_(scheduler_) {}

Desktop LinuxDesktop::desktop() {
  return Desktop{*session_, *session_,   *session_, power_,    hub_,
                 &tabs_,    &processes_, clock_,    scheduler_};
}

std::vector<MissingSource> LinuxDesktop::missingSources() const {
  std::vector<MissingSource> missing;
  if (!session_->isConnected()) {
    missing.push_back(MissingSource::display);
  } else if (!session_->hasIdleTime()) {
    missing.push_back(MissingSource::idleTime);
  }
  if (!dbus_.hasSessionBus()) missing.push_back(MissingSource::sessionBus);
  if (!dbus_.hasLogind()) {
    missing.push_back(MissingSource::logind);
  } else if (!dbus_.hasLoginSession()) {
    missing.push_back(MissingSource::loginSession);
  }
  if (!clockWatch_.watchesClock()) missing.push_back(MissingSource::clockWatch);
  return missing;
}

}  // namespace velto::platform
