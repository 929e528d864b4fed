#include "recording/segment_recorder.h"

#include "base/log.h"

namespace velto {

SegmentRecorder::SegmentRecorder(std::weak_ptr<SegmentSink> sink, SegmentCheckpoints* checkpoints,
                                 const Calendar& calendar)
    : sink_(std::move(sink)), checkpoints_(checkpoints), calendar_(calendar) {}

void SegmentRecorder::clearCheckpoint() {
  if (checkpoints_ != nullptr) checkpoints_->clear();
}

void SegmentRecorder::open(const ActivityContext& context, Instant at) {
  open_ = OpenSegment{context, at};
}

void SegmentRecorder::emit(const ActivityContext& context, Instant from, Instant to,
                           SegmentEndReason reason) {
  Instant cursor = from;
  while (cursor < to) {
    const Instant midnight = calendar_.nextMidnight(cursor);
    const Instant pieceEnd = std::min(midnight, to);
    const SegmentEndReason pieceReason = pieceEnd < to ? SegmentEndReason::dayBoundary : reason;
    if (secondsBetween(cursor, pieceEnd) >= kMinimumSegmentSeconds) {
      if (std::shared_ptr<SegmentSink> sink = sink_.lock()) {
        sink->record(RecordedSegment{context, cursor, pieceEnd, pieceReason});
      }
    }
    cursor = pieceEnd;
  }
}

void SegmentRecorder::close(Instant at, SegmentEndReason reason) {
  if (!open_) return;
  const OpenSegment segment = std::move(*open_);
  open_.reset();
  clearCheckpoint();
  emit(segment.context, segment.startedAt, at, reason);
}

void SegmentRecorder::observe(const std::optional<ActivityContext>& context, Instant at) {
  latestContext_ = context;
  lastSeen_ = at;
  if (isSuspended()) return;
  if (!context) {
    close(at, SegmentEndReason::focusChange);
    return;
  }
  if (open_ && open_->context == *context) return;
  if (open_) close(at, endReasonBetween(open_->context, *context));
  open(*context, at);
}

void SegmentRecorder::switchWindow(const std::optional<ActivityContext>& context, Instant at) {
  if (!context || isSuspended() || !open_) return observe(context, at);
  latestContext_ = context;
  lastSeen_ = at;
  close(at, SegmentEndReason::focusChange);
  open(*context, at);
}

void SegmentRecorder::refine(const ActivityContext& context, Instant at) {
  if (isSuspended()) return;
  if (!open_ || open_->context.bundleId != context.bundleId) {
    observe(context, at);
    return;
  }
  if (open_->context == context) return;
  if (secondsBetween(open_->startedAt, at) <= kRefineWindowSeconds) {
    // The first seconds go to the richer context rather than to a fragment that would be
    // dropped anyway. The checkpoint catches up at the next heartbeat.
    open_->context = context;
    latestContext_ = context;
    return;
  }
  observe(context, at);
}

void SegmentRecorder::endForExclusion(Instant at) {
  latestContext_.reset();
  lastSeen_ = at;
  if (isSuspended()) {
    gapContext_.reset();
    return;
  }
  if (open_ && secondsBetween(open_->startedAt, at) <= kRefineWindowSeconds) {
    open_.reset();
    clearCheckpoint();
    return;
  }
  close(at, SegmentEndReason::focusChange);
}

void SegmentRecorder::clearStaleSuspensions(const std::optional<ActivityContext>& context,
                                            Instant at) {
  bool removed = false;
  for (SuspensionCause stale : {SuspensionCause::sleep, SuspensionCause::displaySleep,
                                SuspensionCause::lock, SuspensionCause::screenSaver}) {
    removed |= suspensions_.erase(stale) > 0;
  }
  if (!removed || isSuspended()) return;
  finishAwayStretch(at);
  observe(context ? context : latestContext_, at);
}

void SegmentRecorder::suspend(SuspensionCause cause, Instant at) {
  const bool wasSuspended = isSuspended();
  suspensions_.insert(cause);
  gapCauses_.insert(cause);
  if (wasSuspended) return;
  gapStart_ = at;
  gapContext_ = open_ ? std::optional(open_->context) : latestContext_;
  close(at, endReasonFor(cause));
}

void SegmentRecorder::finishAwayStretch(Instant at) {
  if (gapStart_ && at > *gapStart_ && onGap) {
    onGap(AwayGap{*gapStart_, at, gapCauses_, gapContext_});
  }
  gapStart_.reset();
  gapCauses_.clear();
  gapContext_.reset();
}

void SegmentRecorder::resume(SuspensionCause cause, const std::optional<ActivityContext>& context,
                             Instant at) {
  if (suspensions_.erase(cause) == 0) return;
  if (isSuspended()) return;
  finishAwayStretch(at);
  // Copy: observe() overwrites latestContext_.
  const std::optional<ActivityContext> reopen = context ? context : latestContext_;
  observe(reopen, at);
}

void SegmentRecorder::heartbeat(Instant at) {
  if (open_ && !isSuspended()) {
    if (!calendar_.isSameDay(open_->startedAt, at)) {
      const ActivityContext context = open_->context;
      close(at, SegmentEndReason::dayBoundary);
      open(context, at);
    } else if (secondsBetween(open_->startedAt, at) > kSafetyCapSeconds) {
      const OpenSegment segment = *open_;
      const std::string& name =
          segment.context.appName.empty() ? segment.context.bundleId : segment.context.appName;
      log::info("Safety cap hit for %{public}s; cutting the segment", name);
      close(addSeconds(segment.startedAt, kSafetyCapSeconds), SegmentEndReason::safetyCap);
      open(segment.context, at);
    } else {
      lastSeen_ = at;
    }
  }
  if (std::shared_ptr<SegmentSink> sink = sink_.lock()) sink->retry();
  if (checkpoints_ == nullptr) return;
  if (open_ && !isSuspended() && lastSeen_) {
    checkpoints_->write(SegmentCheckpoint{open_->context, open_->startedAt, *lastSeen_});
  } else {
    checkpoints_->clear();
  }
}

void SegmentRecorder::clockChanged(Instant at) {
  if (!open_ || isSuspended()) return;
  const OpenSegment segment = *open_;
  // The time since the last confirmation cannot be measured across the jump, so it is dropped.
  Instant end = lastSeen_.value_or(segment.startedAt);
  if (end < segment.startedAt) end = segment.startedAt;
  close(end, SegmentEndReason::clockChange);
  open(segment.context, at);
  lastSeen_ = at;
}

void SegmentRecorder::restart(Instant at) {
  if (!open_) return;
  open_->startedAt = at;
  lastSeen_ = at;
  clearCheckpoint();
}

void SegmentRecorder::recoverCheckpoint() {
  if (checkpoints_ == nullptr) return;
  Result<std::string> bytes = checkpoints_->read();
  if (!bytes) return;
  Result<SegmentCheckpoint> checkpoint = decodeCheckpoint(*bytes);
  if (!checkpoint) return;
  checkpoints_->clear();
  emit(checkpoint->context, checkpoint->startedAt, checkpoint->lastSeen,
       SegmentEndReason::recovered);
}

}  // namespace velto
