#include "limits/limit_monitor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "base/manual_scheduler.h"
#include "base/notices.h"
#include "settings/settings_keys.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;
using Subject = UsageLimit::Subject;
using Kind = UsageLimit::Kind;
using Span = UsageLimit::Span;

// Spent time as a rate: `perDay` seconds on every day, spread evenly over 08:00-18:00 UTC.
class ScriptedSpentTime final : public SpentTimeSource {
 public:
  double spentSeconds(const Subject& subject, Instant start, Instant end) override {
    ++calls;
    const double rate = perDay[subject.key()] / (10 * 3600.0);
    double total = 0;
    for (Instant day = Instant(std::chrono::floor<std::chrono::days>(start)); day < end;
         day += std::chrono::days(1)) {
      const Instant from = std::max(start, day + std::chrono::hours(8));
      const Instant to = std::min(end, day + std::chrono::hours(18));
      if (from < to) total += rate * secondsBetween(from, to);
    }
    return total;
  }
  std::map<std::string, double> perDay;
  int calls = 0;
};

class LimitMonitorTest : public ::testing::Test {
 protected:
  LimitMonitorTest() {
    settings.setGoalAlertsEnabled(true);
    makeMonitor();
  }

  void makeMonitor() {
    monitor = std::make_unique<LimitMonitor>(LimitMonitorEnvironment{
        {settings, calendar, scheduler, scheduler, bus, center, [] { return std::string("en"); }},
        store,
        spent,
        nullptr,
        [this] { return paused; }});
  }

  // The stored alert memory; null when none is stored.
  nlohmann::json alertMemory() const {
    return settings.json(keys::kLimitAlerts).value_or(nlohmann::json());
  }

  std::vector<std::string> titles() const {
    std::vector<std::string> out;
    for (const NotificationRequest& r : center.posted) out.push_back(r.title);
    return out;
  }

  testing::TempDir dir;
  testing::LogCapture logs;
  // Saturday 2026-11-21 08:00 UTC.
  ManualScheduler scheduler{at("2026-11-21T08:00:00Z")};
  Calendar calendar = *Calendar::named("UTC", 2);
  NoticeBus bus;
  Settings settings{dir / "settings.json", bus};
  LimitStore store{settings, bus, scheduler};
  InMemoryNotificationCenter center;
  ScriptedSpentTime spent;
  bool paused = false;
  std::unique_ptr<LimitMonitor> monitor;
};

TEST_F(LimitMonitorTest, NearThenReachedOncePerDay) {
  spent.perDay["app:firefox"] = 10 * 3600;  // one second per second from 08:00
  store.set(Subject::app("firefox", "Firefox"), Kind::limit, Span::day, 3600);
  monitor->start();
  scheduler.advanceTo(at("2026-11-21T08:47:00Z"));  // 47 min: 78 %
  EXPECT_TRUE(center.posted.empty());
  scheduler.advanceTo(at("2026-11-21T08:49:00Z"));  // 49 min: 81 %
  ASSERT_EQ(titles(), (std::vector<std::string>{"Firefox is close to today's limit"}));
  EXPECT_EQ(center.posted[0].body, "48m of 1h used today.");
  EXPECT_EQ(center.posted[0].categoryIdentifier, "velto.limit");
  scheduler.advanceTo(at("2026-11-21T12:00:00Z"));
  ASSERT_EQ(center.posted.size(), 2u);
  EXPECT_EQ(center.posted[1].title, "Firefox has hit today's limit");
  EXPECT_EQ(center.posted[1].body, "1h today, out of 1h.");
  EXPECT_TRUE(center.posted[1].identifier.starts_with("velto.limit."));
  EXPECT_TRUE(logs.contains("Limit alert sent (reached)"));

  // A restart the same day sends nothing again; the next day alerts anew.
  makeMonitor();
  monitor->start();
  EXPECT_EQ(center.posted.size(), 2u);
  scheduler.advanceTo(at("2026-11-22T08:50:00Z"));
  EXPECT_EQ(center.posted.size(), 3u);
}

TEST_F(LimitMonitorTest, WarnRatioSettings) {
  struct Case {
    const char* what;
    std::optional<double> stored;
    bool nearSent;
  };
  const Case cases[] = {
      {"default 0.8", std::nullopt, true},        {"0.9 not yet", 0.9, false},
      {"1.5 reads as 1: near never", 1.5, false}, {"0 turns it off", 0.0, false},
      {"negative turns it off", -1.0, false},
  };
  spent.perDay["total"] = 10 * 3600;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    center.posted.clear();
    settings.setJson(keys::kLimitAlerts, nlohmann::json::object());
    if (c.stored) {
      settings.setLimitWarnRatio(*c.stored);
    } else {
      settings.setJson(keys::kLimitWarnRatio, nullptr);
    }
    store.set(Subject::total(), Kind::limit, Span::day, 3600);
    scheduler.jumpClockTo(at("2026-11-21T08:51:00Z"));  // 85 %
    monitor->check();
    if (c.nearSent) {
      ASSERT_EQ(center.posted.size(), 1u);
      EXPECT_EQ(center.posted[0].title, "You are close to today's limit");
    } else {
      EXPECT_TRUE(center.posted.empty());
    }
  }
}

TEST_F(LimitMonitorTest, AWeekRuleAlertsOncePerCalendarWeek) {
  spent.perDay["category:social"] = 3600;  // an hour a day, 08:00-18:00
  store.set(Subject::category("social"), Kind::limit, Span::week, 6 * 3600);
  // Saturday morning: Monday to Friday of this week (from the 16th) hold 5 h, 83 %.
  monitor->start();
  ASSERT_EQ(titles(), (std::vector<std::string>{"social is close to this week's limit"}));
  EXPECT_EQ(center.posted[0].categoryIdentifier, "velto.limit.week");
  scheduler.advanceTo(at("2026-11-21T18:00:00Z"));
  ASSERT_EQ(center.posted.size(), 2u);
  EXPECT_EQ(center.posted[1].title, "social has hit this week's limit");
  scheduler.advanceTo(at("2026-11-22T20:00:00Z"));  // Sunday: the same week, nothing again
  EXPECT_EQ(center.posted.size(), 2u);
  scheduler.advanceTo(at("2026-11-27T18:00:00Z"));  // next Friday: near again
  EXPECT_EQ(center.posted.size(), 3u);
  scheduler.advanceTo(at("2026-11-28T18:00:00Z"));
  EXPECT_EQ(center.posted.size(), 4u);
  // The completed days were summed once per day, not every minute.
  EXPECT_LT(spent.calls, 2 * 10500);
}

// The completed days of the week are cached; whenever the cache is refilled (recorded data
// changed, a new day, a restart), today must still be counted once.
TEST_F(LimitMonitorTest, AWeekRuleCountsTodayOnceWheneverItsCacheIsRefilled) {
  spent.perDay["category:social"] = 3600;  // an hour a day, 08:00-18:00
  store.set(Subject::category("social"), Kind::limit, Span::week, 5.75 * 3600);
  struct Refill {
    const char* what;
    std::function<void()> run;
  };
  const Refill refills[] = {
      {"recorded data changed", [&] { bus.post(notices::kSegmentsDidChange); }},
      {"a new day began", [&] { bus.post(notices::kDayDidChange); }},
      {"stopped and started",
       [&] {
         monitor->stop();
         monitor->start();
       }},
      {"a fresh monitor",
       [&] {
         makeMonitor();
         monitor->start();
       }},
  };
  struct Case {
    const char* when;
    double hours;  // the week so far
  };
  // The week starts on Monday the 16th; each day holds an hour, spread over 08:00-18:00.
  const Case cases[] = {
      {"2026-11-21T08:00:00Z", 5},    // Saturday, nothing yet today
      {"2026-11-21T13:00:00Z", 5.5},  // Saturday, half of today's hour
      {"2026-11-21T18:00:00Z", 6},    // Saturday, all of today's hour
      {"2026-11-21T23:59:00Z", 6},   {"2026-11-22T12:00:00Z", 6.4},  // Sunday
      {"2026-11-23T13:00:00Z", 0.5},  // Monday: no completed day this week
  };
  for (const Refill& refill : refills) {
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(refill.what) + " at " + c.when);
      settings.setJson(keys::kLimitAlerts, nlohmann::json::object());
      center.posted.clear();
      // The cache is first filled early in the day, then refilled at `when`.
      const Instant when = at(c.when);
      scheduler.jumpClockTo(addSeconds(calendar.startOfDay(when), 60));
      makeMonitor();
      monitor->start();
      scheduler.advanceTo(when);
      std::vector<LimitProgress> before = monitor->progress();
      ASSERT_EQ(before.size(), 1u);
      EXPECT_NEAR(before[0].spent, c.hours * 3600, 1e-6) << "before the refill";

      refill.run();
      std::vector<LimitProgress> after = monitor->progress();
      ASSERT_EQ(after.size(), 1u);
      EXPECT_NEAR(after[0].spent, c.hours * 3600, 1e-6) << "after the refill";
      // The limit of 5 h 45 m is hit only once that much has been spent.
      const std::vector<std::string> sent = titles();
      EXPECT_EQ(std::count(sent.begin(), sent.end(), "social has hit this week's limit"),
                c.hours >= 5.75 ? 1 : 0);
    }
  }
}

TEST_F(LimitMonitorTest, GoalsNeedTheirSwitchAndWithoutPermissionAreRetriedLater) {
  spent.perDay["category:reading"] = 10 * 3600;
  store.set(Subject::category("reading"), Kind::goal, Span::day, 1800);
  settings.setGoalAlertsEnabled(false);
  monitor->start();
  scheduler.advanceTo(at("2026-11-21T09:00:00Z"));
  EXPECT_TRUE(center.posted.empty());

  settings.setGoalAlertsEnabled(true);
  center.status = NotificationAuthorization::denied;
  scheduler.advanceTo(at("2026-11-21T09:02:00Z"));
  EXPECT_TRUE(center.posted.empty());
  EXPECT_TRUE(alertMemory().empty());  // forgotten again

  center.status = NotificationAuthorization::provisional;
  scheduler.advanceTo(at("2026-11-21T09:04:00Z"));
  EXPECT_EQ(titles(), (std::vector<std::string>{"reading: today's goal met"}));
}

TEST_F(LimitMonitorTest, BothSwitchesOffOrPausedDoesNothingNotEvenPruning) {
  spent.perDay["total"] = 10 * 3600;
  store.set(Subject::total(), Kind::limit, Span::day, 60);
  settings.setJson(keys::kLimitAlerts, nlohmann::json{{"OLD:near", "2020-01-01"}});
  settings.setLimitAlertsEnabled(false);
  settings.setGoalAlertsEnabled(false);
  monitor->start();
  scheduler.advanceBy(3600);
  EXPECT_TRUE(center.posted.empty());
  EXPECT_EQ(alertMemory().size(), 1u);

  settings.setLimitAlertsEnabled(true);
  paused = true;
  scheduler.advanceBy(120);
  EXPECT_TRUE(center.posted.empty());
  paused = false;
  scheduler.advanceBy(60);
  EXPECT_EQ(center.posted.size(), 1u);
  EXPECT_FALSE(alertMemory().contains("OLD:near"));  // pruned
}

TEST_F(LimitMonitorTest, ADisabledRuleIsNeitherAlertedNorKeptInMemory) {
  spent.perDay["total"] = 10 * 3600;
  store.set(Subject::total(), Kind::limit, Span::day, 60);
  store.set(Subject::category("coding"), Kind::goal, Span::week, 1e9);  // never met
  monitor->start();
  scheduler.advanceBy(120);
  ASSERT_EQ(center.posted.size(), 1u);
  ASSERT_EQ(alertMemory().size(), 1u);
  ASSERT_EQ(store.limits().size(), 2u);
  store.setEnabled(store.limits()[0].id, false);
  // Only the week goal's stamp is current now: the disabled rule's entry goes.
  EXPECT_TRUE(alertMemory().empty());
  scheduler.advanceBy(600);
  EXPECT_EQ(center.posted.size(), 1u);
}

TEST_F(LimitMonitorTest, AFailedPostIsNotRetried) {
  spent.perDay["total"] = 10 * 3600;
  center.failWith = "no server";
  store.set(Subject::total(), Kind::limit, Span::day, 60);
  monitor->start();
  scheduler.advanceBy(120);
  center.failWith.clear();
  scheduler.advanceBy(600);
  EXPECT_TRUE(center.posted.empty());
}

}  // namespace
}  // namespace velto
