// How long history is kept, and the purge that enforces it.
#pragma once

#include <array>

#include "base/clock.h"
#include "base/notice_bus.h"
#include "settings/settings.h"
#include "store/segment_store.h"

namespace velto {

// The choices the settings offer: 30, 90 and 365 days, and forever.
inline const std::array<Retention, 4> kRetentionChoices = {Retention{30}, Retention{90},
                                                           Retention{365}, Retention{}};

// Deletes what the current settings no longer keep; nothing when history is kept forever.
Result<std::int64_t> purgeBySettings(const Settings& settings, SegmentStore& store, Instant now);

// Stores a retention choice (forever also stores 365 days) and, when it keeps less than
// before, purges at once. The caller has asked the user to confirm a shorter period.
Result<std::int64_t> applyRetentionChoice(Settings& settings, SegmentStore& store, Retention choice,
                                          Instant now);

// Runs the purge whenever either retention setting changes, including from another process.
// The application also calls run() at launch and when the day, the zone or the clock changes.
class RetentionPurge {
 public:
  RetentionPurge(const Settings& settings, SegmentStore& store, const Clock& clock,
                 NoticeBus& notices);
  void run();

 private:
  const Settings& settings_;
  SegmentStore& store_;
  const Clock& clock_;
  Subscription daysChanged_;
  Subscription foreverChanged_;
};

}  // namespace velto
