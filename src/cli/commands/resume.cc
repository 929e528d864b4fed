// `velto resume`: ends a pause, through the command file when a recorder runs, else in the
// settings.
#include <cstdio>

#include "app/service_set.h"
#include "base/clock.h"
#include "base/notice_bus.h"
#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/recorder_presence.h"
#include "recording/tracking_command.h"
#include "settings/settings.h"

namespace velto::cli {

namespace {

void say(const std::string& text) {
  std::fputs(text.c_str(), stderr);
  std::fputc('\n', stderr);
}

int resume(const Invocation& invocation) {
  if (!invocation.args.empty()) {
    say(i18n::text(invocation.language, "recorder.badOption %@", invocation.args.front()));
    return 2;
  }
  const ServicePaths paths = defaultServicePaths();
  const std::filesystem::path shared =
      paths.sharedFolder.value_or(paths.settingsFile.parent_path());
  if (RecorderLock(shared).holder()) {
    if (Status left = TrackingCommand(shared).write(false, SystemClock().now()); !left) {
      say(i18n::text(invocation.language, "pause.failed %@", left.error()));
      return 1;
    }
  } else {
    NoticeBus notices;
    Settings settings(paths.settingsFile, notices);
    settings.setPaused(false);
    settings.clearPausedUntil();
  }
  say(i18n::text(invocation.language, "resume.resumed"));
  return 0;
}

const Registration registration{Command{"resume", "resume.summary", "resume.help", resume}};

}  // namespace

}  // namespace velto::cli
