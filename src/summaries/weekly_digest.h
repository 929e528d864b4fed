// Once a week, at the chosen weekday and hour, one line about the calendar week that ended:
// the total, where most of it went, and the category that moved most against the week before.
// A digest that missed its time by more than 48 hours is skipped. The reported week is marked
// under "velto.digestDeliveredWeek" (its first day's key) before posting; the title rotates
// only on digests actually delivered.
// Thread: main thread.
#pragma once

#include <optional>
#include <string>

#include "summaries/daily_summary.h"

namespace velto {

class WeeklyDigestComposer {
 public:
  WeeklyDigestComposer(SummaryFigures& figures, const Calendar& calendar,
                       const CategoryCatalog* catalog);
  // The digest for the week before the one containing `occurrence`; none when that week holds
  // no time or fewer than 3 recorded days. `variant` picks the title.
  std::optional<ComposedNotification> compose(Instant occurrence, int variant,
                                              std::string_view language);
  // The reported week for an occurrence.
  DateInterval reportedWeek(Instant occurrence) const;

 private:
  SummaryFigures& figures_;
  const Calendar& calendar_;
  const CategoryCatalog* catalog_;
};

class WeeklyDigestScheduler {
 public:
  static constexpr double kLatestDelivery = 172800;  // 48 hours

  WeeklyDigestScheduler(SummaryEnvironment environment, WeeklyDigestComposer& composer);
  void start();
  void stop();
  void schedule();
  void fire();
  // The next / the latest occurrence of the configured weekday and hour after / at `now`.
  std::optional<Instant> nextOccurrence(Instant now) const;
  std::optional<Instant> previousOccurrence(Instant now) const;

 private:
  SummaryEnvironment env_;
  WeeklyDigestComposer& composer_;
  Timer timer_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace velto
