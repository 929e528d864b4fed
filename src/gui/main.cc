// `velto-gui`: the desktop application (started by plain `velto`). Runs the full service set on
// the Qt event loop with the windows of src/gui/.
#include <QApplication>

#include "app/service_set.h"
#include "base/files.h"
#include "base/log.h"
#include "gui/report/report_window.h"
#include "platform/linux/journal_log_sink.h"
#include "platform/linux/linux_desktop.h"
#include "platform/linux/notification_center.h"

int main(int argc, char** argv) {
  velto::platform::installLogSinks();
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Velto"));
  QApplication::setQuitOnLastWindowClosed(false);

  velto::ServicePaths paths = velto::defaultServicePaths();
  for (const std::optional<std::filesystem::path>& folder :
       {std::optional(paths.settingsFile.parent_path()), paths.dataFolder, paths.sharedFolder}) {
    if (!folder) continue;
    if (velto::Status made = velto::files::ensureDirectory(*folder); !made) {
      velto::log::error("Could not create %{public}s: %{public}s", folder->string(), made.error());
    }
  }
  velto::platform::LinuxDesktop desktop;
  velto::platform::FreedesktopNotificationCenter notifications(nullptr);
  velto::Desktop session = desktop.desktop();
  session.notifications = &notifications;
  velto::ServiceSet services(session, paths, velto::Calendar::current());
  notifications.setRouter(&services.router());
  services.start();

  velto::gui::ReportWindow report(services);
  report.show();
  QObject::connect(&application, &QApplication::lastWindowClosed, &application,
                   &QApplication::quit);
  const int status = QApplication::exec();
  services.quit();
  return status;
}
