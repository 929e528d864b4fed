// `velto-gui`: the desktop application (started by plain `velto`). Runs the full service set on
// the Qt event loop with the tray and the windows of src/gui/.
#include <QApplication>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

#include "app/service_set.h"
#include "base/files.h"
#include "base/log.h"
#include "base/strings.h"
#include "cli/commands/recorder_presence.h"
#include "gui/shell/desktop_app.h"
#include "gui/shell/launch_options.h"
#include "platform/linux/journal_log_sink.h"

namespace {

void say(const std::string& text) {
  std::fprintf(stderr, "%s\n", text.c_str());
}

bool haveDisplay() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

// The interface language before the services exist.
std::string startLanguage(const velto::ServicePaths& paths) {
  velto::NoticeBus bus;
  velto::Settings settings(paths.settingsFile, bus);
  return velto::i18n::resolveLanguage(settings.uiLanguage());
}

}  // namespace

int main(int argc, char** argv) {
  velto::platform::installLogSinks();
  velto::ServicePaths paths = velto::defaultServicePaths();
  const std::string language = startLanguage(paths);
  const velto::gui::LaunchOptions options =
      velto::gui::parseLaunchOptions(std::vector<std::string>(argv + 1, argv + argc));
  if (!options.unknown.empty()) {
    say(velto::i18n::text(language, "app.badOption %@", options.unknown));
    return 2;
  }
  if (!haveDisplay()) {
    say(velto::i18n::text(language, "app.noDisplay"));
    return 1;
  }
  for (const std::optional<std::filesystem::path>& folder :
       {std::optional(paths.settingsFile.parent_path()), paths.dataFolder, paths.sharedFolder}) {
    if (!folder) continue;
    if (velto::Status made = velto::files::ensureDirectory(*folder); !made) {
      velto::log::error("Could not create %{public}s: %{public}s", folder->string(), made.error());
    }
  }
  velto::cli::RecorderLock lock(paths.sharedFolder.value_or(paths.settingsFile.parent_path()));
  if (!lock.acquire()) {
    say(velto::i18n::text(language, "app.recorderRunning %@",
                          std::to_string(lock.holder().value_or(0))));
    return 1;
  }

  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Velto"));
  QApplication::setDesktopFileName(QStringLiteral("velto"));
  QApplication::setQuitOnLastWindowClosed(false);

  velto::gui::DesktopApp app(paths);
  app.start();
  using Open = velto::gui::LaunchOptions::Open;
  switch (options.open) {
    case Open::nothing:
      break;
    case Open::report:
      if (options.period.empty() && options.tab.empty() && !options.writeSummary) {
        app.openReport();
      } else {
        app.openReportView(options.period, options.tab, options.writeSummary);
      }
      break;
    case Open::reportWeek:
      app.openWeekReport();
      break;
    case Open::settings:
      app.openSettings(options.pane);
      break;
    case Open::away:
      app.openSampleAwayPrompt(25);
      break;
    case Open::onboarding:
      app.openOnboarding();
      break;
    case Open::trayMenu:
      // After the tray host has embedded the icon.
      QTimer::singleShot(1500, &app, [&app] { app.popUpTrayMenu(); });
      break;
  }
  return QApplication::exec();
}
