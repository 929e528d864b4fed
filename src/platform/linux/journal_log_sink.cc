#include "platform/linux/journal_log_sink.h"

#include <sys/stat.h>
#include <syslog.h>

#include <cstdlib>
#include <string>

#ifdef VELTO_HAVE_JOURNAL
#include <systemd/sd-journal.h>
#endif

namespace velto::platform {

namespace {

#ifdef VELTO_HAVE_JOURNAL
bool journalRunning() {
  struct stat info {};
  return ::stat("/run/systemd/journal/socket", &info) == 0;
}

log::Sink journalSink() {
  return [](log::Level level, std::string_view message) {
    const int priority = level == log::Level::error  ? LOG_ERR
                         : level == log::Level::info ? LOG_INFO
                                                     : LOG_DEBUG;
    sd_journal_send("MESSAGE=%.*s", static_cast<int>(message.size()), message.data(), "PRIORITY=%d",
                    priority, "SYSLOG_IDENTIFIER=velto", nullptr);
  };
}
#endif

}  // namespace

void installLogSinks() {
  std::vector<log::Sink> sinks;
#ifdef VELTO_HAVE_JOURNAL
  const bool stderrIsJournal = std::getenv("JOURNAL_STREAM") != nullptr;
  if (journalRunning()) sinks.push_back(journalSink());
  if (!stderrIsJournal || !journalRunning()) sinks.push_back(log::stderrSink());
#else
  sinks.push_back(log::stderrSink());
#endif
  log::setSinks(std::move(sinks));
}

}  // namespace velto::platform
