// Watches the limits and goals against recorded time and sends one notification per rule, per
// alert level and per period (the day, or the calendar week): a limit nearly reached ("near"),
// reached ("reached"), a goal met ("goalReached"). Never blocks anything.
//
// What was sent is remembered under "velto.limitAlerts" before posting, so a restart or a
// second check never repeats an alert; it is forgotten again when notifications are not
// allowed, so the alert still comes once they are.
//
// Checks every 60 s, on every change of the rules or of recorded data, and at a new day.
// Thread: main thread.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "base/calendar.h"
#include "base/clock.h"
#include "base/notice_bus.h"
#include "base/scheduler.h"
#include "limits/limit_progress.h"
#include "limits/limit_store.h"
#include "settings/settings.h"
#include "summaries/notifier_environment.h"

namespace velto {

// Recorded seconds for a subject within [start, end), including the running segment's part.
class SpentTimeSource {
 public:
  virtual ~SpentTimeSource() = default;
  virtual double spentSeconds(const UsageLimit::Subject& subject, Instant start, Instant end) = 0;
};

enum class AlertLevel { near, reached, goalReached };
std::string_view rawValue(AlertLevel level);

struct LimitMonitorEnvironment {
  SummaryEnvironment common;
  LimitStore& store;
  SpentTimeSource& spent;
  const CategoryCatalog* catalog;  // names categories; may be null
  std::function<bool()> isPaused;  // recording paused: no checks
};

class LimitMonitor {
 public:
  explicit LimitMonitor(LimitMonitorEnvironment environment);
  ~LimitMonitor();

  void start();
  void stop();
  void check();

  // Progress of every enabled rule over its current span, in store order.
  std::vector<LimitProgress> progress();

  // The memory key of a rule's alert: the rule id upper-cased, ":", the level.
  static std::string memoryKey(const UsageLimit& limit, AlertLevel level);
  // The current period of a rule's span: the day key, or "w:" and the first day of the week.
  std::string periodStamp(const UsageLimit& limit) const;

 private:
  double spentInSpan(const UsageLimit& limit);
  void alert(const LimitProgress& progress, AlertLevel level);
  std::map<std::string, std::string> readMemory() const;
  void writeMemory(const std::map<std::string, std::string>& memory);

  LimitMonitorEnvironment env_;
  Timer timer_;
  Subscription limitsChanged_;
  Subscription dataChanged_;
  Subscription dayChanged_;
  // Seconds of each week rule's subject on the completed days of the current week, keyed by
  // subject key and today's day key; cleared when recorded data changes or a day begins.
  std::map<std::string, double> weekCache_;
};

}  // namespace velto
