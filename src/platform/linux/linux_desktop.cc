#include "platform/linux/linux_desktop.h"

#include "base/log.h"
#include "platform/linux/wlroots_session.h"
#include "platform/linux/x11_session.h"

namespace velto::platform {

namespace {

// The desktop when no backend fits: nothing is ever in front, so nothing is recorded from it.
class NoSession final : public DesktopSession {
 public:
  const char* name() const override { return "none"; }
  bool isConnected() const override { return false; }
  bool hasIdleTime() const override { return false; }
  const char* idleSource() const override { return nullptr; }
  const char* processSource() const override { return nullptr; }
  std::optional<RunningApplication> frontmostApplication() override { return std::nullopt; }
  void setActivationHandler(
      std::function<void(const std::optional<RunningApplication>&)>) override {}
  bool observe(const RunningApplication&, std::function<void()>) override { return false; }
  void stop() override {}
  std::optional<std::string> focusedWindowTitle(const RunningApplication&) override {
    return std::nullopt;
  }
  double secondsSinceLastInput() override { return 0; }
  std::vector<RunningApplication> clientApplications() override { return {}; }
};

BackendChoice choiceFromProcess() {
  Result<BackendChoice> choice = chooseBackend(processBackendEnvironment());
  if (choice) return *choice;
  log::error("%{public}s", choice.error());
  return BackendChoice{Backend::none, "backend.none.unknownRequest", true};
}

}  // namespace

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
    case MissingSource::backend:
      return "record.missing.backend";
    case MissingSource::compositor:
      return "record.missing.compositor";
    case MissingSource::compositorIdle:
      return "record.missing.compositorIdle";
    case MissingSource::processes:
      return "record.missing.processes";
  }
  return "record.missing.display";
}

LinuxDesktop::LinuxDesktop() : LinuxDesktop(choiceFromProcess()) {}

LinuxDesktop::LinuxDesktop(BackendChoice choice, SessionUse use)
    : scheduler_(loop_),
      choice_(std::move(choice)),
      session_(makeSession(use)),
      dbus_(loop_, [this](SessionSignal signal) { hub_.deliver(signal); }),
      clockWatch_(loop_, [this](SessionSignal signal) { hub_.deliver(signal); }),
      power_([this] { return session_->clientApplications(); }),
      tabs_(scheduler_),
      reported_(scheduler_, &tabs_),
      titles_(*session_) {
  reported_.setReportHandler([this](int processId) { titles_.tabReported(processId); });
  if (use == SessionUse::recording) {
    browserReports_ = std::make_unique<BrowserReportBus>(loop_, reported_);
  }
}

std::unique_ptr<DesktopSession> LinuxDesktop::makeSession(SessionUse use) {
  std::unique_ptr<DesktopSession> session;
  switch (choice_.backend) {
    case Backend::x11:
      session = std::make_unique<X11Session>(
          loop_, scheduler_, [this](SessionSignal signal) { hub_.deliver(signal); });
      break;
    case Backend::wlroots:
      session = makeWlrootsSession(loop_, scheduler_);
      break;
    case Backend::kwin:
      session = makeKWinSession(loop_, scheduler_);
      break;
    case Backend::gnome:
      session = makeGnomeSession(loop_, scheduler_, use);
      break;
    case Backend::none:
      break;
  }
  choice_ = afterConnecting(choice_, session != nullptr, session && session->isConnected(),
                            session ? session->unavailableReason() : std::string());
  if (choice_.backend == Backend::none) {
    log::debug("No desktop backend: %{public}s", choice_.reasonKey);
    return std::make_unique<NoSession>();
  }
  log::debug("Desktop backend: %{public}s", std::string(backendName(choice_.backend)));
  return session;
}

Desktop LinuxDesktop::desktop() {
  return Desktop{*session_,  titles_,     *session_, power_,    hub_,
                 &reported_, &processes_, clock_,    scheduler_};
}

std::string LinuxDesktop::idleSourceName() const {
  if (!session_->isConnected()) return {};
  const char* source = session_->idleSource();
  return source != nullptr ? source : "";
}

std::string LinuxDesktop::processSourceName() const {
  if (!session_->isConnected()) return {};
  const char* source = session_->processSource();
  return source != nullptr ? source : "";
}

std::vector<MissingSource> LinuxDesktop::missingSources() const {
  std::vector<MissingSource> missing;
  const bool wayland = choice_.backend != Backend::x11;
  if (choice_.backend == Backend::none) {
    missing.push_back(MissingSource::backend);
  } else if (!session_->isConnected()) {
    missing.push_back(wayland ? MissingSource::compositor : MissingSource::display);
  } else {
    if (!session_->hasIdleTime()) {
      missing.push_back(wayland ? MissingSource::compositorIdle : MissingSource::idleTime);
    }
    if (session_->processSource() == nullptr) missing.push_back(MissingSource::processes);
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
