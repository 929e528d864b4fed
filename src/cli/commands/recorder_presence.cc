#include "cli/commands/recorder_presence.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cctype>
#include <string>

#include "base/duration_input.h"

namespace velto::cli {

RecorderLock::RecorderLock(std::filesystem::path sharedFolder)
    : path_(std::move(sharedFolder) / "recorder.lock") {}

RecorderLock::~RecorderLock() {
  if (fd_ >= 0) ::close(fd_);
}

bool RecorderLock::acquire() {
  fd_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (fd_ < 0) return true;  // no shared folder: nothing to guard against
  if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
    ::close(fd_);
    fd_ = -1;
    return false;
  }
  const std::string pid = std::to_string(::getpid()) + "\n";
  if (::ftruncate(fd_, 0) == 0) {
    [[maybe_unused]] const ssize_t written = ::write(fd_, pid.data(), pid.size());
  }
  return true;
}

std::optional<int> RecorderLock::holder() const {
  const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  if (::flock(fd, LOCK_SH | LOCK_NB) == 0) {
    ::close(fd);
    return std::nullopt;
  }
  char buffer[32] = {};
  const ssize_t length = ::read(fd, buffer, sizeof buffer - 1);
  ::close(fd);
  if (length <= 0) return 0;
  return std::atoi(buffer);
}

std::optional<Instant> nextTimeOfDay(std::string_view text, Instant now, const Calendar& calendar) {
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0 || colon > 2 || text.size() - colon != 3) {
    return std::nullopt;
  }
  for (size_t i = 0; i < text.size(); ++i) {
    if (i != colon && !std::isdigit(static_cast<unsigned char>(text[i]))) return std::nullopt;
  }
  const int hour = std::stoi(std::string(text.substr(0, colon)));
  const int minute = std::stoi(std::string(text.substr(colon + 1)));
  if (hour > 23 || minute > 59) return std::nullopt;
  LocalDateTime local = calendar.local(now);
  local.hour = hour;
  local.minute = minute;
  local.second = 0;
  Instant at = calendar.instant(local);
  if (at <= now) {
    LocalDateTime tomorrow = calendar.local(calendar.addDays(calendar.startOfDay(now), 1));
    tomorrow.hour = hour;
    tomorrow.minute = minute;
    tomorrow.second = 0;
    at = calendar.instant(tomorrow);
  }
  return at;
}

PauseArguments parsePauseArguments(const std::vector<std::string>& args, Instant now,
                                   const Calendar& calendar) {
  PauseArguments result;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if ((arg == "--for" || arg == "--until") && i + 1 < args.size() && !result.until) {
      const std::string& value = args[++i];
      if (arg == "--for") {
        if (std::optional<double> seconds = parseDuration(value)) {
          result.until = addSeconds(now, *seconds);
          continue;
        }
        return PauseArguments{std::nullopt, "pause.badDuration %@", value};
      }
      if (std::optional<Instant> at = nextTimeOfDay(value, now, calendar)) {
        result.until = at;
        continue;
      }
      return PauseArguments{std::nullopt, "pause.badTime %@", value};
    }
    return PauseArguments{std::nullopt, "recorder.badOption %@", arg};
  }
  return result;
}

}  // namespace velto::cli
