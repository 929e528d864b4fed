// `velto pause [--for 30m | --until HH:MM]`: pauses recording. A running recorder is told
// through the command file and reacts within a second; without one, the settings are changed so
// the next recorder starts paused.
#include <cstdio>

#include "app/service_set.h"
#include "base/calendar.h"
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

std::string clockTime(Instant at, const Calendar& calendar) {
  const LocalDateTime local = calendar.local(at);
  char text[8];
  std::snprintf(text, sizeof text, "%02d:%02d", local.hour % 100, local.minute % 100);
  return text;
}

int pause(const Invocation& invocation) {
  const SystemClock clock;
  const Instant now = clock.now();
  const Calendar calendar = Calendar::current();
  const PauseArguments arguments = parsePauseArguments(invocation.args, now, calendar);
  if (!arguments.error.empty()) {
    say(i18n::text(invocation.language, arguments.error, arguments.errorArgument));
    return 2;
  }
  const ServicePaths paths = defaultServicePaths();
  const std::filesystem::path shared =
      paths.sharedFolder.value_or(paths.settingsFile.parent_path());
  if (RecorderLock(shared).holder()) {
    if (Status left = TrackingCommand(shared).write(true, now, arguments.until); !left) {
      say(i18n::text(invocation.language, "pause.failed %@", left.error()));
      return 1;
    }
  } else {
    NoticeBus notices;
    Settings settings(paths.settingsFile, notices);
    settings.setPaused(true);
    if (arguments.until) {
      settings.setPausedUntil(*arguments.until);
    } else {
      settings.clearPausedUntil();
    }
  }
  if (arguments.until) {
    say(i18n::text(invocation.language, "pause.pausedUntil %@",
                   clockTime(*arguments.until, calendar)));
  } else {
    say(i18n::text(invocation.language, "pause.paused"));
  }
  return 0;
}

const Registration registration{
    Command{"pause", "pause.summary", "pause.help", pause, {"--for", "--until"}}};

}  // namespace

}  // namespace velto::cli
