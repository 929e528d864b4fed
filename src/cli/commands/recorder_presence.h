// Shared pieces of the recorder's commands: the lock that marks a running recorder, and the
// arguments of `velto pause`.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/calendar.h"
#include "base/time.h"

namespace velto::cli {

// "recorder.lock" in the shared folder, held (flock) by the running `velto record` and holding
// its process id. The kernel drops the lock when the process dies, even by SIGKILL.
class RecorderLock {
 public:
  explicit RecorderLock(std::filesystem::path sharedFolder);
  ~RecorderLock();
  RecorderLock(const RecorderLock&) = delete;
  RecorderLock& operator=(const RecorderLock&) = delete;

  // Takes the lock for this process; false when another process holds it.
  bool acquire();
  // The process id of the recorder holding the lock; none when no recorder runs.
  std::optional<int> holder() const;

 private:
  std::filesystem::path path_;
  int fd_ = -1;
};

// The next time the wall clock of `calendar` shows "HH:MM" after `now` (today when still ahead,
// else tomorrow); none when the text is not a time of day.
std::optional<Instant> nextTimeOfDay(std::string_view text, Instant now, const Calendar& calendar);

// `velto pause` options: none (indefinitely), --for DURATION or --until HH:MM.
struct PauseArguments {
  std::optional<Instant> until;
  std::string error;  // catalog key of the problem; empty when the arguments are fine
  std::string errorArgument;
};
PauseArguments parsePauseArguments(const std::vector<std::string>& args, Instant now,
                                   const Calendar& calendar);

}  // namespace velto::cli
