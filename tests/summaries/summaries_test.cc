#include <gtest/gtest.h>

#include <map>

#include "base/manual_scheduler.h"
#include "reports/duration_text.h"
#include "settings/settings_keys.h"
#include "summaries/daily_summary.h"
#include "summaries/locale_text.h"
#include "summaries/notification_router.h"
#include "summaries/weekly_digest.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

// Recorded time per local day and category.
class ScriptedFigures final : public SummaryFigures {
 public:
  explicit ScriptedFigures(const Calendar& calendar) : calendar_(calendar) {}

  void add(const std::string& dayKey, const std::string& category, double seconds) {
    days[dayKey][category] += seconds;
  }

  double totalSeconds(Instant start, Instant end) override {
    double total = 0;
    for (const auto& [category, seconds] : sum(start, end)) total += seconds;
    return total;
  }
  std::optional<std::string> topCategory(Instant start, Instant end) override {
    std::optional<std::string> top;
    double most = 0;
    for (const auto& [category, seconds] : sum(start, end)) {
      if (seconds > most) most = seconds, top = category;
    }
    return top;
  }
  int daysWithRecords(Instant start, Instant end) override {
    int count = 0;
    for (Instant day = start; day < end; day = calendar_.nextMidnight(day)) {
      if (days.count(calendar_.dayKey(day)) != 0) ++count;
    }
    return count;
  }
  std::vector<CategoryChange> categoryChanges(Instant s, Instant e, Instant ps,
                                              Instant pe) override {
    std::map<std::string, CategoryChange> changes;
    for (const auto& [category, seconds] : sum(s, e)) changes[category] = {category, seconds, 0};
    for (const auto& [category, seconds] : sum(ps, pe)) {
      changes[category].category = category;
      changes[category].previous = seconds;
    }
    std::vector<CategoryChange> out;
    for (const auto& [category, change] : changes) out.push_back(change);
    std::stable_sort(out.begin(), out.end(), [](const auto& a, const auto& b) {
      return std::fabs(a.current - a.previous) > std::fabs(b.current - b.previous);
    });
    return out;
  }

  std::map<std::string, std::map<std::string, double>> days;

 private:
  std::map<std::string, double> sum(Instant start, Instant end) {
    std::map<std::string, double> out;
    for (Instant day = start; day < end; day = calendar_.nextMidnight(day)) {
      auto found = days.find(calendar_.dayKey(day));
      if (found == days.end()) continue;
      for (const auto& [category, seconds] : found->second) out[category] += seconds;
    }
    return out;
  }
  const Calendar& calendar_;
};

class SummaryTest : public ::testing::Test {
 protected:
  UsageLimit goal(const std::string& host) {
    UsageLimit limit;
    limit.kind = UsageLimit::Kind::goal;
    limit.subject = UsageLimit::Subject::host(host);
    return limit;
  }

  testing::TempDir dir;
  testing::LogCapture logs;
  // Tuesday 2026-11-24, Berlin.
  ManualScheduler scheduler{at("2026-11-24T08:00:00Z")};
  Calendar calendar = *Calendar::named("Europe/Berlin", 2);
  NoticeBus bus;
  Settings settings{dir / "settings.json", bus};
  InMemoryNotificationCenter center;
  ScriptedFigures figures{calendar};
  SummaryEnvironment env{
      settings, calendar, scheduler, scheduler, bus, center, [] { return std::string("en"); }};
};

TEST_F(SummaryTest, ComposesTheDayAgainstAUsualWeekday) {
  struct Case {
    const char* what;
    double today;
    std::vector<double> earlier;  // the same weekday 1..4 weeks back
    const char* comparison;       // empty: no comparison sentence
  };
  const Case cases[] = {
      {"more, both bounds inclusive",
       9000 + 900,
       {9000, 9000},
       "About 15m more than a usual Tuesday."},
      {"20 min on 5 h is the same",
       18000 + 1200,
       {18000, 18000},
       "About the same as a usual Tuesday."},
      {"10 min on 40 min is the same", 3000, {2400, 2400}, "About the same as a usual Tuesday."},
      {"less", 3600, {7200, 7200, 7200, 0}, "About 1h less than a usual Tuesday."},
      {"one earlier day only", 7200, {7200, 0, 0, 0}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    figures.days.clear();
    figures.add("2026-11-24", "coding", c.today);
    const char* earlierDays[] = {"2026-11-17", "2026-11-10", "2026-11-03", "2026-10-27"};
    for (size_t i = 0; i < c.earlier.size(); ++i) {
      if (c.earlier[i] > 0) figures.add(earlierDays[i], "social", c.earlier[i]);
    }
    DailySummaryComposer composer(figures, calendar, nullptr);
    const auto summary = composer.compose(at("2026-11-24T17:00:00Z"), {}, "en");
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->title, "Your day");
    const std::string first =
        DurationText::forLanguage("en").format(c.today) + " today, most of it coding.";
    EXPECT_EQ(summary->body,
              std::string(c.comparison).empty() ? first : first + " " + c.comparison);
  }
}

TEST_F(SummaryTest, ADayOfThirtyMinutesOrMoreHasASummary) {
  struct Case {
    double seconds;
    bool summary;
  };
  const Case cases[] = {{0, false},   {29 * 60, false}, {1799.5, false},
                        {1800, true}, {1800.5, true},   {31 * 60, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.seconds);
    figures.days.clear();
    if (c.seconds > 0) figures.add("2026-11-24", "coding", c.seconds);
    DailySummaryComposer composer(figures, calendar, nullptr);
    const auto summary = composer.compose(at("2026-11-24T17:00:00Z"), {}, "en");
    EXPECT_EQ(summary.has_value(), c.summary);
    if (summary) {
      EXPECT_EQ(summary->body,
                DurationText::forLanguage("en").format(c.seconds) + " today, most of it coding.");
    }
  }

  // The scheduler sends a day of exactly thirty minutes too.
  figures.days.clear();
  figures.add("2026-11-24", "coding", 1800);
  DailySummaryComposer composer(figures, calendar, nullptr);
  DailySummaryScheduler daily(env, composer, {});
  settings.setDailySummaryEnabled(true);
  daily.start();
  scheduler.advanceTo(at("2026-11-24T17:01:00Z"));
  ASSERT_EQ(center.posted.size(), 1u);
  EXPECT_EQ(center.posted[0].body, "30m today, most of it coding.");
}

TEST_F(SummaryTest, ListsAtMostThreeDayGoalsClosestFirst) {
  figures.add("2026-11-24", "reading", 7200);
  std::vector<LimitProgress> progress = {
      {goal("a.example"), 600, 1200},
      {goal("b.example"), 1800, 1800},
      {goal("c.example"), 100, 1000},
      {goal("d.example"), 900, 1000},
  };
  UsageLimit weekGoal = goal("w.example");
  weekGoal.span = UsageLimit::Span::week;
  progress.push_back({weekGoal, 99999, 1});
  DailySummaryComposer composer(figures, calendar, nullptr);
  const auto summary = composer.compose(at("2026-11-24T17:00:00Z"), progress, "en");
  ASSERT_TRUE(summary);
  EXPECT_EQ(summary->body,
            "2h today, most of it reading. Goals: b.example met, d.example 15m of 16m, and "
            "a.example 10m of 20m.");
}

TEST_F(SummaryTest, DailySummaryIsSentOnceAtTheHourOrLaterThatDay) {
  figures.add("2026-11-24", "coding", 7200);
  DailySummaryComposer composer(figures, calendar, nullptr);
  DailySummaryScheduler daily(env, composer, {});
  settings.setDailySummaryHour(14);  // outside 15-23: 18:00
  settings.setDailySummaryEnabled(true);
  daily.start();
  EXPECT_EQ(daily.nextFireDate(scheduler.now()), at("2026-11-24T17:00:00Z"));
  scheduler.advanceTo(at("2026-11-24T16:59:00Z"));
  EXPECT_TRUE(center.posted.empty());
  scheduler.advanceTo(at("2026-11-24T17:01:00Z"));
  ASSERT_EQ(center.posted.size(), 1u);
  EXPECT_EQ(center.posted[0].identifier, "velto.daily");
  EXPECT_EQ(center.posted[0].categoryIdentifier, "velto.daily");
  EXPECT_TRUE(logs.contains("Daily summary delivered"));
  bus.post("studio.kestrova.Velto.dayDidChange");  // another trigger the same day
  EXPECT_EQ(center.posted.size(), 1u);
  EXPECT_EQ(settings.dailySummaryDeliveredDay(), "2026-11-24");
}

TEST_F(SummaryTest, WithoutPermissionTheDayStaysOpenAndShortDaysAreNotRetried) {
  figures.add("2026-11-24", "coding", 7200);
  DailySummaryComposer composer(figures, calendar, nullptr);
  DailySummaryScheduler daily(env, composer, {});
  settings.setDailySummaryEnabled(true);
  center.status = NotificationAuthorization::denied;
  scheduler.jumpClockTo(at("2026-11-24T19:00:00Z"));
  daily.start();
  EXPECT_TRUE(center.posted.empty());
  EXPECT_EQ(settings.dailySummaryDeliveredDay(), std::nullopt);
  center.status = NotificationAuthorization::authorized;
  daily.fire();
  EXPECT_EQ(center.posted.size(), 1u);

  // A short day is marked and skipped once.
  scheduler.jumpClockTo(at("2026-11-25T19:00:00Z"));
  figures.add("2026-11-25", "coding", 29 * 60);
  daily.fire();
  daily.fire();
  EXPECT_EQ(center.posted.size(), 1u);
  EXPECT_EQ(settings.dailySummaryDeliveredDay(), "2026-11-25");
  EXPECT_TRUE(logs.contains("Daily summary has nothing worth saying - skipped"));
}

TEST_F(SummaryTest, AsleepAtTheHourSendsOnWakingThatDayButNeverLate) {
  figures.add("2026-11-24", "coding", 7200);
  figures.add("2026-11-25", "coding", 7200);
  DailySummaryComposer composer(figures, calendar, nullptr);
  DailySummaryScheduler daily(env, composer, {});
  settings.setDailySummaryEnabled(true);
  daily.start();
  // Asleep through 18:00; woken at 21:30 the same day.
  scheduler.jumpClockTo(at("2026-11-24T20:30:00Z"));
  bus.post("studio.kestrova.Velto.dayDidChange");
  ASSERT_EQ(center.posted.size(), 1u);
  // Asleep from 17:30 the next day until the morning after: that evening is never sent.
  scheduler.jumpClockTo(at("2026-11-26T07:00:00Z"));
  bus.post("studio.kestrova.Velto.dayDidChange");
  EXPECT_EQ(center.posted.size(), 1u);
  EXPECT_EQ(daily.nextFireDate(scheduler.now()), at("2026-11-26T17:00:00Z"));
}

class DigestTest : public SummaryTest {
 protected:
  // Fills a week (starting Monday `monday`) with `days` recorded days of `perCategory`.
  void week(const std::vector<std::string>& dayKeys,
            const std::map<std::string, double>& perCategory) {
    for (const std::string& day : dayKeys) {
      for (const auto& [category, seconds] : perCategory) {
        figures.add(day, category, seconds / dayKeys.size());
      }
    }
  }
  const std::vector<std::string> lastWeek = {"2026-11-16", "2026-11-17", "2026-11-18"};
  const std::vector<std::string> weekBefore = {"2026-11-09", "2026-11-10", "2026-11-11"};
  WeeklyDigestComposer composer{figures, calendar, nullptr};
};

TEST_F(DigestTest, BodiesFirstSteadyAndMover) {
  const Instant monday9 = at("2026-11-23T08:00:00Z");
  week(lastWeek, {{"social", 34 * 60}, {"coding", 40000}});
  week({"2026-11-09", "2026-11-10"}, {{"social", 20 * 60}, {"coding", 40000}});
  const auto first = composer.compose(monday9, 0, "en");
  ASSERT_TRUE(first);
  EXPECT_EQ(first->body, "11h 40m recorded this week. Most of it: coding.");

  figures.days.clear();
  // Social 20 -> 34 min: 70 % but only 14 min. Coding 10 h -> 11 h: 10 % and an hour.
  week(lastWeek, {{"social", 34 * 60}, {"coding", 11 * 3600}});
  week(weekBefore, {{"social", 20 * 60}, {"coding", 10 * 3600}});
  const auto digest = composer.compose(monday9, 0, "en");
  ASSERT_TRUE(digest);
  EXPECT_EQ(digest->title, "Your week in review");
  EXPECT_EQ(digest->body, "coding is up 10% to 11h. Total screen time up 12%.");

  figures.days.clear();
  week(lastWeek, {{"coding", 10 * 3600}});
  week(weekBefore, {{"coding", 10 * 3600 + 600}});
  const auto steady = composer.compose(monday9, 4, "en");
  ASSERT_TRUE(steady);
  EXPECT_EQ(steady->body, "10h this week, about the same as last week. Most of it: coding.");
  EXPECT_EQ(steady->title, "How last week went");

  figures.days.clear();
  week({"2026-11-16", "2026-11-17"}, {{"coding", 3600}});
  EXPECT_EQ(composer.compose(monday9, 0, "en"), std::nullopt);  // two days only
}

TEST_F(DigestTest, SchedulingTheFortyEightHourRuleAndTitleRotation) {
  week(lastWeek, {{"coding", 36000}});
  WeeklyDigestScheduler digest(env, composer);
  settings.setDigestWeekday(0);  // outside 1-7: Monday
  settings.setDigestHour(24);    // outside 0-23: 09:00
  EXPECT_EQ(digest.nextOccurrence(scheduler.now()), at("2026-11-30T08:00:00Z"));
  EXPECT_EQ(digest.previousOccurrence(scheduler.now()), at("2026-11-23T08:00:00Z"));

  // Tuesday 08:00 UTC is 24 h after Monday 09:00 local: still sent.
  digest.start();
  ASSERT_EQ(center.posted.size(), 1u);
  EXPECT_EQ(center.posted[0].identifier, "velto.digest.weekly");
  EXPECT_EQ(settings.digestDeliveredWeek(), "2026-11-16");
  EXPECT_EQ(settings.digestVariant(), 1);
  // A click opens the week the digest tells about, not the week it arrives in.
  std::optional<Instant> opened;
  NotificationRouter router;
  router.onOpenWeek = [&](std::optional<Instant> about) { opened = about; };
  ASSERT_TRUE(
      router.handleResponse(center.posted[0].categoryIdentifier, true, center.posted[0].about));
  ASSERT_TRUE(opened);
  EXPECT_EQ(calendar.dayKey(calendar.weekInterval(*opened).start), "2026-11-16");
  digest.fire();
  EXPECT_EQ(center.posted.size(), 1u);

  // The next weeks rotate the titles; 49 hours late is too late.
  const char* expectedTitles[] = {"How last week went", "Last week, in short",
                                  "Your week in review"};
  const char* weeks[][3] = {{"2026-11-23", "2026-11-24", "2026-11-25"},
                            {"2026-11-30", "2026-12-01", "2026-12-02"},
                            {"2026-12-07", "2026-12-08", "2026-12-09"}};
  for (int i = 0; i < 3; ++i) {
    week({weeks[i][0], weeks[i][1], weeks[i][2]}, {{"coding", 36000}});
    scheduler.advanceTo(addSeconds(at("2026-11-30T08:00:00Z"), i * 7 * 86400 + 60));
    ASSERT_EQ(center.posted.size(), static_cast<size_t>(2 + i));
    EXPECT_EQ(center.posted.back().title, expectedTitles[i]);
  }
  digest.stop();
  week({"2026-12-14", "2026-12-15", "2026-12-16"}, {{"coding", 36000}});
  scheduler.jumpClockTo(at("2026-12-23T09:00:00Z"));  // 49 h after Monday 09:00
  digest.fire();
  EXPECT_EQ(center.posted.size(), 4u);
  scheduler.jumpClockTo(at("2026-12-23T06:00:00Z"));  // 47 h after
  digest.fire();
  EXPECT_EQ(center.posted.size(), 5u);
}

TEST(LocaleTextTest, WeekdaysAndLists) {
  EXPECT_EQ(weekdayName(3, "en"), "Tuesday");
  EXPECT_EQ(weekdayName(3, "tr"), "Salı");
  EXPECT_EQ(weekdayName(3, "de"), "Dienstag");
  EXPECT_EQ(joinList({"A", "B", "C"}, "en"), "A, B, and C");
  EXPECT_EQ(joinList({"A", "B"}, "de"), "A und B");
  EXPECT_EQ(joinList({"A"}, "fr"), "A");
}

}  // namespace
}  // namespace velto
