#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <unordered_set>

#include "recorder_fixture.h"
#include "recording/activity_detail.h"
#include "recording/off_computer.h"

namespace velto {
namespace {

using testing::app;
using Reason = SegmentEndReason;

TEST(SegmentEndReasonTest, RawValuesRoundTripInDeclaredOrder) {
  const char* expected[] = {"focusChange",   "titleChange", "urlChange", "idle",      "sleep",
                            "lock",          "paused",      "appQuit",   "safetyCap", "dayBoundary",
                            "sessionSwitch", "clockChange", "recovered", "manual"};
  const auto all = allSegmentEndReasons();
  ASSERT_EQ(all.size(), std::size(expected));
  for (size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(static_cast<size_t>(all[i]), i);
    EXPECT_EQ(rawValue(all[i]), expected[i]);
    EXPECT_EQ(segmentEndReasonFromRaw(expected[i]), all[i]);
  }
  for (const char* bad : {"FocusChange", "focuschange", "", "focusChange ", "stopped"}) {
    EXPECT_EQ(segmentEndReasonFromRaw(bad), std::nullopt) << bad;
  }
  EXPECT_EQ(activityDetailKindFromRaw("workspace"), ActivityDetailKind::workspace);
  EXPECT_EQ(activityDetailKindFromRaw("Site"), std::nullopt);
}

TEST(SegmentEndReasonTest, ReasonBetweenContexts) {
  ActivityContext base = app("firefox", "Inbox");
  base.host = "mail.example.com";
  base.url = "https://mail.example.com/inbox";
  base.toolName = "a";

  struct Case {
    const char* what;
    void (*change)(ActivityContext&);
    Reason expected;
  };
  const Case cases[] = {
      {"bundle", [](ActivityContext& c) { c.bundleId = "chromium"; }, Reason::focusChange},
      {"bundle and host", [](ActivityContext& c) { c.bundleId = "x", c.host.reset(); },
       Reason::focusChange},
      {"host", [](ActivityContext& c) { c.host = "example.org"; }, Reason::urlChange},
      {"host absent", [](ActivityContext& c) { c.host.reset(); }, Reason::urlChange},
      {"host empty", [](ActivityContext& c) { c.host = ""; }, Reason::urlChange},
      {"url", [](ActivityContext& c) { c.url = "https://mail.example.com/sent"; },
       Reason::urlChange},
      {"title", [](ActivityContext& c) { c.windowTitle = "Sent"; }, Reason::titleChange},
      {"tool only", [](ActivityContext& c) { c.toolName = "b"; }, Reason::titleChange},
      {"app name", [](ActivityContext& c) { c.appName = "Firefox Nightly"; }, Reason::titleChange},
  };
  for (const Case& c : cases) {
    ActivityContext changed = base;
    c.change(changed);
    EXPECT_EQ(endReasonBetween(base, changed), c.expected) << c.what;
  }
  ActivityContext absentHost = app("b");
  ActivityContext emptyHost = app("b");
  emptyHost.host = "";
  EXPECT_NE(absentHost, emptyHost);
  EXPECT_EQ(endReasonBetween(absentHost, emptyHost), Reason::urlChange);
}

TEST(ActivityContextTest, JsonKeepsAbsentApartFromEmpty) {
  ActivityContext context = app("org.gnome.Terminal", "");
  context.windowTitle = "";
  context.toolName = "npm";
  const nlohmann::json json = toJson(context);
  EXPECT_EQ(json, nlohmann::json::parse(
                      R"({"bundleId":"org.gnome.Terminal","appName":"org.gnome.Terminal",
                          "windowTitle":"","toolName":"npm"})"));
  EXPECT_EQ(*activityContextFromJson(json), context);

  // Null reads as absent; missing required fields and wrong types are errors.
  const auto nullHost = activityContextFromJson(
      nlohmann::json::parse(R"({"bundleId":"a","appName":"A","host":null})"));
  ASSERT_TRUE(nullHost);
  EXPECT_EQ(nullHost->host, std::nullopt);
  for (const char* bad :
       {R"({"appName":"A"})", R"({"bundleId":"a"})", R"({"bundleId":1,"appName":"A"})",
        R"({"bundleId":"a","appName":"A","url":5})", R"([])"}) {
    EXPECT_FALSE(activityContextFromJson(nlohmann::json::parse(bad))) << bad;
  }
}

TEST(ActivityContextTest, HashFollowsEquality) {
  ActivityContext a = app("x");
  ActivityContext b = app("x");
  b.windowTitle = "";
  std::unordered_set<ActivityContext> set = {a, b, app("x")};
  EXPECT_EQ(set.size(), 2u);
}

TEST(OffComputerTest, LabelledContextsFromFreeText) {
  struct Case {
    const char* label;
    const char* bundleId;  // nullptr: no context
    const char* appName;
  };
  const Case cases[] = {
      {"Team standup", "velto.manual.team-standup", "Team standup"},
      {"  Lunch\twith   Ana \n", "velto.manual.lunch-with-ana", "Lunch\twith   Ana"},
      {"Çay Molası", "velto.manual.çay-molası", "Çay Molası"},
      {"\u00a0Réunion\u2003équipe\u3000", "velto.manual.réunion-équipe", "Réunion\u2003équipe"},
      {"   \n\t ", nullptr, nullptr},
      {"", nullptr, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const std::optional<ActivityContext> context = labelledContext(c.label);
    if (c.bundleId == nullptr) {
      EXPECT_EQ(context, std::nullopt);
      continue;
    }
    ASSERT_TRUE(context);
    EXPECT_EQ(context->bundleId, c.bundleId);
    EXPECT_EQ(context->appName, c.appName);
    EXPECT_FALSE(context->windowTitle || context->host || context->toolName || context->url);
  }
}

TEST(OffComputerTest, KindsAndIdentifiers) {
  const std::tuple<OffMacKind, const char*, const char*> table[] = {
      {OffMacKind::meeting, "meeting", "offMac.meeting"},
      {OffMacKind::breakTime, "break", "offMac.break"},
      {OffMacKind::phone, "phone", "offMac.phone"},
      {OffMacKind::offline, "offline", "offMac.offline"},
  };
  for (const auto& [kind, raw, key] : table) {
    EXPECT_EQ(rawValue(kind), raw);
    EXPECT_EQ(localizationKey(kind), key);
    EXPECT_EQ(offMacKindFromRaw(raw), kind);
    EXPECT_TRUE(isOffComputer(offMacBundleId(kind)));
  }
  EXPECT_EQ(offMacBundleId(OffMacKind::breakTime), "velto.offmac.break");
  EXPECT_FALSE(isOffComputer("velto.manual.break"));
  EXPECT_EQ(offMacKindFromRaw("breakTime"), std::nullopt);
}

}  // namespace
}  // namespace velto
