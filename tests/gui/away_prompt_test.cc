// What each answer of the away prompt writes to the store.
#include "gui/away/away_prompt.h"

#include <gtest/gtest.h>

#include "gui/away/away_prompt_model.h"
#include "gui/scripted_services.h"

namespace velto::gui {
namespace {

using velto::testing::at;

class AwayPromptTest : public ::testing::Test {
 protected:
  AwayPromptTest() : scripted(at("2026-11-21T12:00:00Z")) {
    const ActivityContext code{"code", "Code", {}, {}, {}, {}};
    const ActivityContext slack{"slack", "Slack", {}, {}, {}, {}};
    const ActivityContext meeting{"velto.offmac.meeting", "Meeting", {}, {}, {}, {}};
    insert(code, "2026-11-21T08:00:00Z", "2026-11-21T09:00:00Z");
    insert(meeting, "2026-11-21T09:00:00Z", "2026-11-21T09:30:00Z");
    insert(slack, "2026-11-21T09:30:00Z", "2026-11-21T10:00:00Z");
    insert(code, "2026-11-21T10:00:00Z", "2026-11-21T10:30:00Z");
    gap = AwayGap{
        at("2026-11-21T10:30:00Z"), at("2026-11-21T11:00:00Z"), {SuspensionCause::idle}, code};
  }

  void insert(const ActivityContext& context, const char* from, const char* to) {
    ASSERT_TRUE(scripted.services->store().insert(
        {context, at(from), at(to), SegmentEndReason::focusChange}));
  }

  std::vector<Segment> manualRows() {
    std::vector<Segment> day = scripted.services->store().fetchDay("2026-11-21").value();
    std::vector<Segment> rows;
    for (Segment& row : day) {
      if (row.endReasonRaw == "manual") rows.push_back(std::move(row));
    }
    return rows;
  }

  velto::testing::ScriptedServices scripted;
  AwayGap gap;
};

TEST_F(AwayPromptTest, TextsNameTheStretchAndTheApp) {
  AwayPromptModel model(*scripted.services, gap);
  EXPECT_EQ(model.title(), "Quiet for 30m");
  EXPECT_EQ(model.question(), "Were you at your computer?");
  EXPECT_EQ(model.yesText(), "Yes, Code");
  AwayGap nothingInFront = gap;
  nothingInFront.context.reset();
  EXPECT_FALSE(AwayPromptModel(*scripted.services, nothingInFront).yesText());
}

TEST_F(AwayPromptTest, RecentAppsAreNewestFirstWithoutTheGapsAppOrTimeAway) {
  AwayPromptModel model(*scripted.services, gap);
  EXPECT_EQ(model.recentApps(), (std::vector<RecentApp>{{"slack", "Slack"}}));
  AwayGap unknown = gap;
  unknown.context.reset();
  EXPECT_EQ(AwayPromptModel(*scripted.services, unknown).recentApps(),
            (std::vector<RecentApp>{{"code", "Code"}, {"slack", "Slack"}}));
}

TEST_F(AwayPromptTest, EachAnswerWritesItsRows) {
  struct Case {
    const char* name;
    std::function<Status(AwayPromptModel&)> answer;
    std::string bundleId;  // empty: nothing written
    std::string appName;
  };
  const Case cases[] = {
      {"yes", [](AwayPromptModel& m) { return m.answerYes(); }, "code", "Code"},
      {"other app",
       [](AwayPromptModel& m) {
         return m.answerApp({"slack", "Slack"});
       },
       "slack", "Slack"},
      {"phone", [](AwayPromptModel& m) { return m.answerOffComputer(OffMacKind::phone); },
       "velto.offmac.phone", "Phone"},
      {"break", [](AwayPromptModel& m) { return m.answerOffComputer(OffMacKind::breakTime); },
       "velto.offmac.break", "Break"},
      {"label", [](AwayPromptModel& m) { return m.answerLabel("  Team standup \n"); },
       "velto.manual.team-standup", "Team standup"},
      {"no",
       [](AwayPromptModel& m) {
         m.answerNo();
         return Status{};
       },
       "", ""},
      {"not now",
       [](AwayPromptModel& m) {
         m.dismiss();
         return Status{};
       },
       "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    velto::testing::ScriptedServices fresh(at("2026-11-21T12:00:00Z"));
    AwayPromptModel model(*fresh.services, gap);
    ASSERT_TRUE(c.answer(model));
    EXPECT_TRUE(model.answered());
    const auto rows = fresh.services->store().fetchDay("2026-11-21").value();
    if (c.bundleId.empty()) {
      EXPECT_TRUE(rows.empty());
      continue;
    }
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].bundleId, c.bundleId);
    EXPECT_EQ(rows[0].appName, c.appName);
    EXPECT_EQ(rows[0].startedAt, gap.start);
    EXPECT_EQ(rows[0].endedAt, gap.end);
    EXPECT_EQ(rows[0].endReasonRaw, "manual");
  }
}

TEST_F(AwayPromptTest, ABlankLabelWritesNothingAndKeepsThePromptOpen) {
  AwayPromptModel model(*scripted.services, gap);
  EXPECT_TRUE(model.answerLabel(" \n\t "));
  EXPECT_FALSE(model.answered());
  EXPECT_TRUE(manualRows().empty());
}

TEST_F(AwayPromptTest, AStretchOverMidnightIsFiledPerDay) {
  // 22:30 to 00:30 Berlin time.
  AwayGap late{at("2026-11-21T21:30:00Z"),
               at("2026-11-21T23:30:00Z"),
               {SuspensionCause::sleep},
               ActivityContext{"code", "Code", {}, {}, {}, {}}};
  AwayPromptModel model(*scripted.services, late);
  ASSERT_TRUE(model.answerYes());
  const auto first = scripted.services->store().fetchDay("2026-11-21").value();
  const auto second = scripted.services->store().fetchDay("2026-11-22").value();
  ASSERT_FALSE(second.empty());
  EXPECT_EQ(second.back().bundleId, "code");
  EXPECT_DOUBLE_EQ(second.back().seconds, 1800);
  ASSERT_FALSE(first.empty());
  EXPECT_DOUBLE_EQ(first.back().seconds, 5400);
}

TEST_F(AwayPromptTest, WindowAnswersAndClosingCountsAsNotNow) {
  AwayPrompt prompt(*scripted.services, gap);
  EXPECT_EQ(prompt.windowTitle(), "Quiet for 30m");
  prompt.reject();
  EXPECT_TRUE(prompt.model().answered());
  EXPECT_TRUE(manualRows().empty());
}

}  // namespace
}  // namespace velto::gui
