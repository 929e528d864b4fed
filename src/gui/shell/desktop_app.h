// The desktop application: owns the real desktop, the notification center and the service set,
// like `velto record` does, and the shell around them: the tray, the report and settings
// windows, the away prompt, first-start onboarding, the two-step quit, SIGINT/SIGTERM, commands
// and settings written by other programs (the shared and configuration folders are watched).
// Thread: GUI thread; a QApplication must exist first and outlive this object.
#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QPointer>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/service_set.h"
#include "gui/report/report_window.h"
#include "gui/shell/event_loop_pump.h"
#include "gui/shell/pause_actions.h"
#include "gui/shell/quit_sequence.h"
#include "gui/shell/stop_signals.h"
#include "gui/shell/window_state.h"
#include "platform/linux/linux_desktop.h"
#include "platform/linux/notification_center.h"

namespace velto::gui {

class AwayPrompt;
class OnboardingWindow;
class SettingsWindow;
class TrayController;

class DesktopApp : public QObject {
  Q_OBJECT
 public:
  explicit DesktopApp(ServicePaths paths);
  ~DesktopApp() override;

  // Starts recording, shows the tray (or, without a tray host, says so and opens the report)
  // and onboarding on first start.
  void start();

  void openReport();
  // The report on the week containing `about` (none: now), on its overview.
  void openWeekReport(std::optional<Instant> about = std::nullopt);
  // `pane` empty: the last pane shown.
  void openSettings(std::string_view pane = {});
  void openOnboarding();
  // Offers the engine's pending gap, if any, unless a prompt for it is open already.
  void offerPendingGap();
  // An away prompt for the last `minutes` before now (for screenshots and trying it out).
  void openSampleAwayPrompt(double minutes);
  // Pops up the tray menu at the top right of the screen (for screenshots).
  void popUpTrayMenu();
  // The report on a period named as --open=report:<period>:<tab> names it (for screenshots);
  // `writeSummary` presses the written-summary button.
  void openReportView(std::string_view period, std::string_view tab, bool writeSummary);
  void quit();

  ServiceSet& services() { return services_; }

 private:
  // With no backend (and none asked for), says why once at start.
  void tellWhyNoWindowsAreSeen();
  void raise(QWidget* window);
  // The report on the `kind` period containing `about` (none: now), on `tab` (none: the tab it
  // shows).
  void openReportOn(PeriodKind kind, std::optional<ReportWindow::Tab> tab,
                    std::optional<Instant> about = std::nullopt);
  void engineStateChanged();

  ServicePaths paths_;
  platform::LinuxDesktop desktop_;
  EventLoopPump pump_;
  platform::FreedesktopNotificationCenter notifications_;
  ServiceSet services_;
  PauseActions pause_;
  QuitSequence quit_;
  WindowState windowState_;
  StopSignals stopSignals_;
  QFileSystemWatcher watcher_;
  bool notificationServer_ = false;
  std::unique_ptr<TrayController> tray_;
  QPointer<ReportWindow> report_;
  QPointer<SettingsWindow> settings_;
  QPointer<OnboardingWindow> onboarding_;
  QPointer<AwayPrompt> away_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace velto::gui
