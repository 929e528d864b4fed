#include "store/retention.h"

#include <climits>

#include "settings/settings_keys.h"

namespace velto {

namespace {

int keptDays(const Retention& retention) {
  return retention.days.value_or(INT_MAX);
}

}  // namespace

Result<std::int64_t> purgeBySettings(const Settings& settings, SegmentStore& store, Instant now) {
  const Retention retention = settings.retention();
  if (retention.forever()) return std::int64_t{0};
  return store.purge(*retention.days, now);
}

Result<std::int64_t> applyRetentionChoice(Settings& settings, SegmentStore& store, Retention choice,
                                          Instant now) {
  const Retention before = settings.retention();
  if (choice.forever()) {
    settings.setKeepHistoryForever(true);
    return std::int64_t{0};
  }
  settings.setKeepHistoryForever(false);
  settings.setRetentionDays(*choice.days);
  if (keptDays(choice) >= keptDays(before)) return std::int64_t{0};
  return store.purge(*choice.days, now);
}

RetentionPurge::RetentionPurge(const Settings& settings, SegmentStore& store, const Clock& clock,
                               NoticeBus& notices)
    : settings_(settings), store_(store), clock_(clock) {
  daysChanged_ = notices.subscribe(keys::kRetentionDays, [this] { run(); });
  foreverChanged_ = notices.subscribe(keys::kKeepHistoryForever, [this] { run(); });
}

void RetentionPurge::run() {
  (void)purgeBySettings(settings_, store_, clock_.now());
}

}  // namespace velto
