#include "gui/shell/desktop_app.h"

#include <unistd.h>

#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>
#include <cstdio>

#include "base/log.h"
#include "base/notices.h"
#include "gui/away/away_prompt.h"
#include "gui/onboarding/onboarding_window.h"
#include "gui/report/report_summary_writer.h"
#include "gui/report/report_window.h"
#include "gui/settings/settings_window.h"
#include "gui/shell/qt_text.h"
#include "gui/shell/theme.h"
#include "gui/tray/tray_controller.h"
#include "platform/linux/login_start_targets.h"
#include "settings/settings_keys.h"

namespace velto::gui {

namespace {

Desktop withNotifications(Desktop desktop, AppNotificationCentering* notifications) {
  desktop.notifications = notifications;
  return desktop;
}

}  // namespace

DesktopApp::DesktopApp(ServicePaths paths)
    : paths_(paths),
      pump_(desktop_.loop()),
      notifications_(desktop_.loop(), nullptr),
      services_(withNotifications(desktop_.desktop(), &notifications_), paths, Calendar::current()),
      pause_(services_),
      quit_(services_, desktop_.scheduler(), [] { QCoreApplication::quit(); }),
      windowState_(paths.dataFolder),
      stopSignals_([this] { quit(); }) {
  notifications_.setRouter(&services_.router());
  services_.router().onOpenToday = [this] { openReportOn(PeriodKind::day, std::nullopt); };
  services_.router().onOpenWeek = [this](std::optional<Instant> about) { openWeekReport(about); };
  services_.router().onOpenTodayOverview = [this] {
    openReportOn(PeriodKind::day, ReportWindow::Tab::overview);
  };
  services_.engine().onStateChange = [this] { engineStateChanged(); };
  services_.engine().onGapDecided = [](const AwayGap& gap, bool offered) {
    log::info("Away for %{public}s s, offered to the user: %{bool,public}d",
              std::to_string(static_cast<long long>(gap.duration())),
              std::string(offered ? "true" : "false"));
  };

  const QString shared =
      paths.sharedFolder ? QString::fromStdString(paths.sharedFolder->string()) : QString();
  if (!shared.isEmpty()) watcher_.addPath(shared);
  watcher_.addPath(QString::fromStdString(paths.settingsFile.parent_path().string()));
  connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, [this, shared](const QString& f) {
    if (f == shared) {
      services_.notices().post(notices::kTrackingCommand);
    } else {
      services_.settings().reloadIfChanged();
    }
  });

  applyTheme(services_.settings().theme());
  subscriptions_.push_back(services_.notices().subscribe(
      keys::kTheme, [this] { applyTheme(services_.settings().theme()); }));
  // Windows are built in one language: an open settings window is built again in the new one.
  subscriptions_.push_back(services_.notices().subscribe(keys::kUiLanguage, [this] {
    if (!settings_) return;
    const std::string pane(settings_->currentPane());
    settings_->hide();
    settings_->deleteLater();
    settings_ = nullptr;
    QTimer::singleShot(0, this, [this, pane] { openSettings(pane); });
  }));
  notifications_.authorizationStatus(
      [this](NotificationAuthorization status) { notificationServer_ = mayPost(status); });
}

DesktopApp::~DesktopApp() {
  if (!quit_.isQuitting()) services_.quit();
  delete away_.data();
  delete onboarding_.data();
  delete settings_.data();
  delete report_.data();
  tray_.reset();
}

void DesktopApp::start() {
  services_.start();
  // A command left while no recorder ran is taken now (the engine drops stale ones).
  if (paths_.sharedFolder) services_.notices().post(notices::kTrackingCommand);

  const std::string lang = services_.language();
  tray_ = std::make_unique<TrayController>(
      services_, pause_,
      TrayCallbacks{[this] { openReport(); }, [this] { openSettings(); }, [this] { quit(); }});
  if (TrayController::hostAvailable()) {
    tray_->show();
  } else {
    const std::string message = i18n::text(lang, "app.noTray");
    std::fprintf(stderr, "%s\n", message.c_str());
    log::info("No tray host: opening the report window");
    openReport();
    // Without a tray there is no Quit entry: closing the last window quits.
    connect(qApp, &QGuiApplication::lastWindowClosed, this, [this] { quit(); });
  }
  tellWhyNoWindowsAreSeen();
  if (OnboardingWindow* shown = onboarding_.data();
      shown == nullptr && !services_.settings().onboardingCompleted()) {
    openOnboarding();
  }
  offerPendingGap();
}

void DesktopApp::tellWhyNoWindowsAreSeen() {
  const platform::BackendChoice& backend = desktop_.backendChoice();
  if (backend.backend != platform::Backend::none || backend.requested) return;
  // Once per start: it stays true until the user acts (logs out and in, turns the extension
  // on), and the permissions pane keeps saying it.
  const std::string lang = services_.language();
  auto* box = new QMessageBox(QMessageBox::Information, uiText(lang, "app.noBackend.title"),
                              uiText(lang, backend.reasonKey));
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->show();
}

void DesktopApp::raise(QWidget* window) {
  window->show();
  window->raise();
  window->activateWindow();
}

void DesktopApp::openReport() {
  if (!report_) {
    report_ = new ReportWindow(services_, &windowState_);
    report_->setAttribute(Qt::WA_DeleteOnClose);
    report_->setSummaryWriter(reportSummaryWriter(services_));
  }
  raise(report_);
}

void DesktopApp::openWeekReport(std::optional<Instant> about) {
  // The overview draws the week's days as bars; the timeline is for single days.
  openReportOn(PeriodKind::week, ReportWindow::Tab::overview, about);
}

void DesktopApp::openReportOn(PeriodKind kind, std::optional<ReportWindow::Tab> tab,
                              std::optional<Instant> about) {
  openReport();
  report_->showPeriod(kind, about.value_or(services_.clock().now()));
  if (tab) report_->showTab(*tab);
}

void DesktopApp::openSettings(std::string_view pane) {
  if (!settings_) {
    std::vector<std::string> missing;
    for (platform::MissingSource source : desktop_.missingSources()) {
      missing.emplace_back(platform::missingSourceKey(source));
    }
    const platform::BackendChoice& backend = desktop_.backendChoice();
    const bool none = backend.backend == platform::Backend::none;
    settings_ = new SettingsWindow(
        PaneContext{services_, services_.language(),
                    platform::LoginStartPaths::forUser(platform::veltoNextToThisProgram()),
                    std::move(missing), notificationServer_,
                    none ? std::string() : std::string(platform::backendName(backend.backend)),
                    none ? backend.reasonKey : std::string()});
    settings_->setAttribute(Qt::WA_DeleteOnClose);
    windowState_.remember(settings_, QStringLiteral("settings"));
  }
  if (!pane.empty()) settings_->showPane(pane);
  raise(settings_);
}

void DesktopApp::openOnboarding() {
  if (!onboarding_) {
    onboarding_ = new OnboardingWindow(services_);
    onboarding_->setAttribute(Qt::WA_DeleteOnClose);
  }
  raise(onboarding_);
}

void DesktopApp::offerPendingGap() {
  const std::optional<AwayGap>& gap = services_.engine().pendingGap();
  if (!gap) return;
  if (away_ && away_->model().gap() == *gap) return;
  if (away_) away_->reject();
  away_ = new AwayPrompt(services_, *gap);
  away_->setAttribute(Qt::WA_DeleteOnClose);
  raise(away_);
}

void DesktopApp::openSampleAwayPrompt(double minutes) {
  const Instant now = services_.clock().now();
  AwayGap gap{addSeconds(now, -minutes * 60), now, {SuspensionCause::idle}, std::nullopt};
  Result<std::vector<Segment>> rows =
      services_.store().fetchOverlapping(addSeconds(now, -86400.0), now);
  if (rows && !rows->empty()) gap.context = rows->back().context();
  if (away_) away_->reject();
  away_ = new AwayPrompt(services_, gap);
  away_->setAttribute(Qt::WA_DeleteOnClose);
  raise(away_);
}

void DesktopApp::openReportView(std::string_view period, std::string_view tab, bool writeSummary) {
  const Calendar& calendar = services_.calendar();
  const Instant now = services_.clock().now();
  PeriodKind kind = PeriodKind::day;
  Instant anchor = now;
  if (period == "yesterday") {
    anchor = calendar.addDays(now, -1);
  } else if (period == "week" || period == "lastweek") {
    kind = PeriodKind::week;
    if (period == "lastweek") anchor = calendar.addDays(now, -7);
  } else if (period == "month") {
    kind = PeriodKind::month;
  } else if (period == "year") {
    kind = PeriodKind::year;
  }
  std::optional<ReportWindow::Tab> shown;
  static constexpr std::string_view kTabs[] = {"overview", "timeline", "apps",  "categories",
                                               "sites",    "hours",    "trends"};
  for (size_t i = 0; i < std::size(kTabs); ++i) {
    if (tab == kTabs[i]) shown = static_cast<ReportWindow::Tab>(i);
  }
  openReportOn(kind, shown, anchor);
  if (writeSummary) report_->writeSummary();
}

void DesktopApp::popUpTrayMenu() {
  if (!tray_) return;
  tray_->refresh();
  const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
  QMenu* menu = tray_->menu();
  menu->adjustSize();
  menu->popup(QPoint(screen.right() - menu->sizeHint().width() - 8, screen.top() + 40));
}

void DesktopApp::engineStateChanged() {
  if (tray_) tray_->refresh();
  offerPendingGap();
}

void DesktopApp::quit() {
  if (!quit_.isQuitting()) {
    for (QWidget* window :
         std::initializer_list<QWidget*>{report_, settings_, onboarding_, away_}) {
      if (window != nullptr) window->hide();
    }
  }
  quit_.request();
}

}  // namespace velto::gui
