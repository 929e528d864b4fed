// `velto record`: the recorder without a tray. Runs the full service set on the real desktop
// until SIGINT or SIGTERM, which close the open segment ("appQuit") and stop cleanly.
#include <malloc.h>
#include <signal.h>
#include <sqlite3.h>

#include <cstdio>

#include "app/service_set.h"
#include "base/files.h"
#include "base/log.h"
#include "base/notices.h"
#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/recorder_presence.h"
#include "platform/linux/atspi_tab_reader.h"
#include "platform/linux/folder_watch.h"
#include "platform/linux/linux_desktop.h"
#include "platform/linux/notification_center.h"

namespace velto::cli {

namespace {

void say(const std::string& text) {
  std::fputs(text.c_str(), stderr);
  std::fputc('\n', stderr);
}

void takeCommand(ServiceSet& services) {
  services.notices().post(notices::kTrackingCommand);
}

int record(const Invocation& invocation) {
  if (!invocation.args.empty()) {
    say(i18n::text(invocation.language, "recorder.badOption %@", invocation.args.front()));
    return 2;
  }
  const platform::BackendEnvironment environment = platform::processBackendEnvironment();
  const Result<platform::BackendChoice> backend = platform::chooseBackend(environment);
  if (!backend) {
    say(i18n::text(invocation.language, "backend.error.unknown %@", environment.requested));
    return 2;
  }
  ServicePaths paths = defaultServicePaths();
  for (const std::optional<std::filesystem::path>& folder :
       {std::optional(paths.settingsFile.parent_path()), paths.dataFolder, paths.sharedFolder}) {
    if (!folder) continue;
    if (Status made = files::ensureDirectory(*folder); !made) {
      log::error("Could not create %{public}s: %{public}s", folder->string(), made.error());
    }
  }
  RecorderLock lock(paths.sharedFolder.value_or(paths.settingsFile.parent_path()));
  if (!lock.acquire()) {
    say(i18n::text(invocation.language, "record.alreadyRunning %@",
                   std::to_string(lock.holder().value_or(0))));
    return 1;
  }

  // Blocked before any thread starts, so that every thread leaves them to the loop.
  if (!platform::blockSignals({SIGINT, SIGTERM})) {
    log::error("Could not set up signal handling: %{public}s", files::errnoText(errno));
    return 1;
  }
  // A recorder reads little and seldom: SQLite's caches stay small (they shrink to this soft
  // limit as pages are freed), and memory freed after a burst of work goes back to the system.
  constexpr sqlite3_int64 kSqliteHeapBytes = 512 << 10;
  sqlite3_soft_heap_limit64(kSqliteHeapBytes);
  // The lists a refresh builds and drops (a day's totals, a few hundred kB) get pages of their
  // own that go back when freed, rather than leaving holes in the heap; a fixed threshold also
  // stops glibc from raising it after the first such free.
  mallopt(M_MMAP_THRESHOLD, 64 << 10);
  platform::LinuxDesktop desktop(*backend);
  platform::EventLoop& loop = desktop.loop();
  platform::SignalWatch interrupt(loop, SIGINT, [&loop] { loop.exit(); });
  platform::SignalWatch terminate(loop, SIGTERM, [&loop] { loop.exit(); });
  for (platform::MissingSource missing : desktop.missingSources()) {
    std::string line = i18n::text(invocation.language, platform::missingSourceKey(missing));
    // Without a backend nothing is recorded from the desktop: say why on the same line.
    if (missing == platform::MissingSource::backend) {
      line += " " + i18n::text(invocation.language, desktop.backendChoice().reasonKey);
    }
    say(line);
  }

  // Limit alerts, the daily summary and the weekly digest reach the desktop's notification
  // server; a click opens nothing yet (there is no window), but is routed all the same.
  platform::FreedesktopNotificationCenter notifications(loop, nullptr);
  Desktop session = desktop.desktop();
  session.notifications = &notifications;
  ServiceSet services(session, paths, Calendar::current());
  if (services.settings().accessibilityRequested() &&
      !platform::AtspiTabReader::hasAccessibilityBus()) {
    say(i18n::text(invocation.language, "record.missing.accessibilityBus"));
  }
  notifications.setRouter(&services.router());
  services.engine().onGapDecided = [](const AwayGap& gap, bool offered) {
    log::info("Away for %{public}s s, offered to the user: %{bool,public}d",
              std::to_string(static_cast<long long>(gap.duration())),
              std::string(offered ? "true" : "false"));
  };

  // The shared folder brings commands; the configuration folder brings settings written by
  // other processes (writers rename into place, so the folder is watched, not the file).
  platform::FolderWatch watcher(loop, [&](const std::filesystem::path& folder) {
    if (paths.sharedFolder && folder == *paths.sharedFolder) {
      takeCommand(services);
    } else {
      services.settings().reloadIfChanged();
    }
  });
  if (paths.sharedFolder) watcher.add(*paths.sharedFolder);
  watcher.add(paths.settingsFile.parent_path());

  services.start();
  const auto trim = desktop.scheduler().repeating(300, 60, [] { malloc_trim(0); });
  // A command left while no recorder ran is taken now (the engine drops stale ones).
  if (paths.sharedFolder) takeCommand(services);
  say(i18n::text(invocation.language, "record.started"));
  loop.run();
  services.quit();
  say(i18n::text(invocation.language, "record.stopped"));
  return 0;
}

const Registration registration{Command{"record", "record.summary", "record.help", record}};

}  // namespace

}  // namespace velto::cli
