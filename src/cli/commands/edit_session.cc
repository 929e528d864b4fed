#include "cli/commands/edit_session.h"

#include "cli/commands/recorder_presence.h"
#include "cli/commands/report_session.h"

namespace velto::cli {

EditSession::EditSession(std::string lang)
    : language(std::move(lang)),
      scheduler_(clock_.now()),
      idle_(clock_),
      paths_(defaultServicePaths()) {
  services_ = std::make_unique<ServiceSet>(Desktop{front_, titles_, idle_, power_, session_,
                                                   nullptr, nullptr, clock_, scheduler_, nullptr},
                                           paths_, Calendar::current());
  waitForOtherWriters(services_->store().persistence().database(), language);
  services_->liveElsewhere = [this]() -> std::optional<LiveSlice> {
    const std::optional<SegmentCheckpoint> running = runningSegment();
    if (!running) return std::nullopt;
    return LiveSlice{running->context, running->startedAt};
  };
}

std::optional<SegmentCheckpoint> EditSession::runningSegment() const {
  if (!paths_.dataFolder || !paths_.sharedFolder) return std::nullopt;
  // A checkpoint without a recorder is a crash's leftover, recovered at the next start.
  if (!RecorderLock(*paths_.sharedFolder).holder()) return std::nullopt;
  Result<std::string> bytes = FileSegmentCheckpoints(*paths_.dataFolder).read();
  if (!bytes) return std::nullopt;
  return decodeCheckpoint(*bytes).toOptional();
}

}  // namespace velto::cli
