#include "limits/limit_store.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "limits/limit_progress.h"
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

class LimitStoreTest : public ::testing::Test {
 protected:
  testing::TempDir dir;
  testing::LogCapture logs;
  NoticeBus bus;
  Settings settings{dir / "settings.json", bus};
  FixedClock clock{at("2026-11-21T09:00:00Z")};
};

TEST_F(LimitStoreTest, RuleKeys) {
  const std::pair<std::string, std::string> table[] = {
      {ruleKey(Kind::goal, Span::week, Subject::category("reading")), "goal:week:category:reading"},
      {ruleKey(Kind::limit, Span::day, Subject::total()), "limit:day:total"},
      {ruleKey(Kind::limit, Span::day, Subject::app("Org.Gnome.Terminal", "Terminal")),
       "limit:day:app:org.gnome.terminal"},
      {ruleKey(Kind::limit, Span::week, Subject::host("YouTube.com")),
       "limit:week:host:youtube.com"},
      {ruleKey(Kind::limit, Span::day, Subject::category("Custom-ABC")),
       "limit:day:category:Custom-ABC"},
  };
  for (const auto& [key, expected] : table) EXPECT_EQ(key, expected);
}

TEST_F(LimitStoreTest, UpsertsByRuleKeyAndKeepsIdentity) {
  LimitStore store(settings, bus, clock);
  store.set(Subject::app("org.mozilla.firefox", "Firefox"), Kind::limit, Span::day, 3600);
  const UsageLimit first = store.limits().at(0);
  store.setEnabled(first.id, false);
  clock.advance(60);
  // Same app in other letter case, new name: the same rule, enabled again, new amount and name.
  store.set(Subject::app("ORG.mozilla.Firefox", "Firefox Nightly"), Kind::limit, Span::day, 5400);
  ASSERT_EQ(store.limits().size(), 1u);
  const UsageLimit updated = store.limits()[0];
  EXPECT_EQ(updated.id, first.id);
  EXPECT_EQ(updated.createdAt, first.createdAt);
  EXPECT_TRUE(updated.isEnabled);
  EXPECT_EQ(updated.secondsPerDay, 5400);
  EXPECT_EQ(updated.subject.name, "Firefox Nightly");
  // A goal on the same subject and a week limit are other rules.
  store.set(Subject::app("org.mozilla.firefox", "Firefox"), Kind::goal, Span::day, 600);
  store.set(Subject::app("org.mozilla.firefox", "Firefox"), Kind::limit, Span::week, 20000);
  EXPECT_EQ(store.limits().size(), 3u);
  store.remove(Subject::app("org.mozilla.firefox", ""), Kind::goal, Span::day);
  EXPECT_EQ(store.limits().size(), 2u);

  // What was saved reads back identically in a new store.
  LimitStore again(settings, bus, clock);
  EXPECT_EQ(again.limits(), store.limits());
  EXPECT_TRUE(logs.lines.empty());
}

TEST_F(LimitStoreTest, StoredRulesDecodeTolerantly) {
  const char* id1 = "8F7B3C1E-8E0A-4D5B-9C2A-1F2E3D4C5B6A";
  const char* id2 = "1B2C3D4E-5F60-4718-8293-A4B5C6D7E8F9";
  // An old rule without kind and span; a rule with an unknown span; a good week goal.
  settings.setJson(keys::kLimits, nlohmann::json::parse(std::string(R"([
    {"id":")") + id1 + R"(","subject":{"kind":"host","value":"news.example.com","name":""},
     "secondsPerDay":1800,"isEnabled":true,"createdAt":785000000},
    {"id":"2A2C3D4E-5F60-4718-8293-A4B5C6D7E8F9","subject":{"kind":"total","value":"","name":""},
     "secondsPerDay":1,"isEnabled":true,"createdAt":1,"span":"fortnight"},
    {"id":")" + id2 + R"(","subject":{"kind":"category","value":"reading","name":""},
     "secondsPerDay":7200,"isEnabled":false,"createdAt":785000000.5,"kind":"goal","span":"week"}
  ])"));
  LimitStore store(settings, bus, clock);
  ASSERT_EQ(store.limits().size(), 2u);
  EXPECT_EQ(store.limits()[0].kind, Kind::limit);
  EXPECT_EQ(store.limits()[0].span, Span::day);
  EXPECT_EQ(store.limits()[0].ruleKey(), "limit:day:host:news.example.com");
  EXPECT_EQ(store.limits()[1].ruleKey(), "goal:week:category:reading");
  EXPECT_FALSE(store.limits()[1].isEnabled);
  EXPECT_EQ(logs.lines, (std::vector<std::string>{"Dropped 1 unreadable limit(s)"}));
}

TEST_F(LimitStoreTest, AnUnreadableWholeIsNoRulesAndStaysUntilTheNextSave) {
  settings.setJson(keys::kLimits, nlohmann::json{{"not", "a list"}});
  LimitStore store(settings, bus, clock);
  EXPECT_TRUE(store.limits().empty());
  EXPECT_EQ(logs.lines,
            (std::vector<std::string>{"Could not read limits: the data is not a list"}));
  EXPECT_TRUE(settings.json(keys::kLimits).value().is_object());
  store.set(Subject::total(), Kind::limit, Span::day, 28800);
  EXPECT_TRUE(settings.json(keys::kLimits).value().is_array());
}

TEST_F(LimitStoreTest, AnotherProcessesChangeIsPickedUp) {
  LimitStore store(settings, bus, clock);
  int changes = 0;
  Subscription subscription = store.subscribe([&] { ++changes; });
  Settings other(dir / "settings.json", bus);
  LimitStore writer(other, bus, clock);
  writer.set(Subject::category("social"), Kind::limit, Span::day, 1800);
  settings.reloadIfChanged();
  ASSERT_EQ(store.limits().size(), 1u);
  EXPECT_GE(changes, 1);
}

TEST(LimitProgressTest, TextsForEveryKindSpanAndState) {
  struct Case {
    Kind kind;
    Span span;
    double spent;
    double amount;
    const char* expected;
  };
  const Case cases[] = {
      {Kind::limit, Span::day, 2700, 3600, "45m of 1h today"},
      {Kind::limit, Span::week, 2700, 3600, "45m of 1h this week"},
      {Kind::limit, Span::day, 3600, 3600, "1h of 1h today - over by 0s"},
      {Kind::limit, Span::week, 4500, 3600, "1h 15m of 1h this week - over by 15m"},
      {Kind::goal, Span::day, 600, 1800, "10m of 30m today"},
      {Kind::goal, Span::week, 600, 1800, "10m of 30m this week"},
      {Kind::goal, Span::day, 1800, 1800, "Met: 30m of 30m today"},
      {Kind::goal, Span::week, 2000, 1800, "Met: 33m of 30m this week"},
  };
  for (const Case& c : cases) {
    UsageLimit limit;
    limit.kind = c.kind;
    limit.span = c.span;
    limit.secondsPerDay = c.amount;
    const LimitProgress progress{limit, c.spent, c.amount};
    EXPECT_EQ(progress.text("en"), c.expected);
  }
}

}  // namespace
}  // namespace velto
