// The optional evening notification telling the day in one line: how much, mostly on what,
// against a usual day of the same weekday, and the day's goals. Skipped on days under 30 min.
//
// Sent at the configured hour (15-23, default 18) or at the first trigger after it on the same
// day; a day that has passed is never sent late. The day is marked under
// "velto.dailySummaryDeliveredDay" before posting, and unmarked when notifications are not
// allowed, so it is still sent once they are.
// Thread: main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/calendar.h"
#include "base/clock.h"
#include "base/notice_bus.h"
#include "base/scheduler.h"
#include "limits/limit_progress.h"
#include "settings/settings.h"
#include "summaries/notifier_environment.h"
#include "summaries/summary_figures.h"

namespace velto {

class CategoryCatalog;

struct ComposedNotification {
  std::string title;
  std::string body;
  bool operator==(const ComposedNotification&) const = default;
};

class DailySummaryComposer {
 public:
  DailySummaryComposer(SummaryFigures& figures, const Calendar& calendar,
                       const CategoryCatalog* catalog);
  // The summary of the day containing `now`; none under 30 minutes. `progress` holds the
  // enabled rules' progress (only day goals are used).
  std::optional<ComposedNotification> compose(Instant now,
                                              const std::vector<LimitProgress>& progress,
                                              std::string_view language);

 private:
  SummaryFigures& figures_;
  const Calendar& calendar_;
  const CategoryCatalog* catalog_;
};

class DailySummaryScheduler {
 public:
  DailySummaryScheduler(SummaryEnvironment environment, DailySummaryComposer& composer,
                        std::function<std::vector<LimitProgress>()> progress);
  void start();
  void stop();
  void schedule();
  // Sends today's summary if it is due and not sent yet (every trigger runs this).
  void fire();
  // The next instant at which the summary is due.
  Instant nextFireDate(Instant now) const;

 private:
  SummaryEnvironment env_;
  DailySummaryComposer& composer_;
  std::function<std::vector<LimitProgress>()> progress_;
  Timer timer_;
  Subscription enabledChanged_;
  Subscription hourChanged_;
  Subscription dayChanged_;
};

}  // namespace velto
