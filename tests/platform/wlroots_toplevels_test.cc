#include <gtest/gtest.h>

#include "platform/linux/wlroots_session.h"

namespace velto::platform {
namespace {

// A toplevel announced with its first state, as a compositor sends it.
std::uint64_t open(ToplevelList& list, const char* appId, const char* title, bool activated) {
  const std::uint64_t id = list.add();
  list.setAppId(id, appId);
  list.setTitle(id, title);
  list.setActivated(id, activated);
  list.done(id);
  return id;
}

void activate(ToplevelList& list, std::uint64_t id, bool activated) {
  list.setActivated(id, activated);
  list.done(id);
}

TEST(WlrootsToplevels, StateChangesOnlyAtDone) {
  ToplevelList list;
  const std::uint64_t one = open(list, "foot", "shell", true);
  ASSERT_TRUE(list.settle().frontChanged);
  EXPECT_EQ(list.front(), one);

  list.setTitle(one, "vim");
  list.setActivated(one, false);
  ASSERT_NE(list.find(one), nullptr);
  EXPECT_EQ(list.find(one)->title, "shell");
  EXPECT_TRUE(list.find(one)->activated);
  const ToplevelList::Settled before = list.settle();
  EXPECT_FALSE(before.frontChanged);
  EXPECT_FALSE(before.titleChanged);
  EXPECT_EQ(list.front(), one);

  list.done(one);
  EXPECT_EQ(list.find(one)->title, "vim");
  EXPECT_TRUE(list.settle().frontChanged);
  EXPECT_EQ(list.front(), 0u);
}

TEST(WlrootsToplevels, NumbersAreNeverReused) {
  ToplevelList list;
  const std::uint64_t one = open(list, "foot", "a", false);
  list.closed(one);
  const std::uint64_t two = open(list, "foot", "a", false);
  EXPECT_NE(one, 0u);
  EXPECT_NE(two, one);
  EXPECT_EQ(list.find(one), nullptr);
  EXPECT_NE(list.find(two), nullptr);
  // Events for a closed toplevel do not bring it back.
  list.setTitle(one, "late");
  list.done(one);
  EXPECT_EQ(list.find(one), nullptr);
}

TEST(WlrootsToplevels, EverySwitchIsOneChangeWhateverTheEventOrder) {
  for (const bool newFirst : {false, true}) {
    SCOPED_TRACE(newFirst ? "new activated first" : "old deactivated first");
    ToplevelList list;
    // Two windows of one application: a switch between them is still a change.
    const std::uint64_t one = open(list, "foot", "first", true);
    const std::uint64_t two = open(list, "foot", "second", false);
    list.settle();
    ASSERT_EQ(list.front(), one);
    if (newFirst) {
      activate(list, two, true);
      activate(list, one, false);
    } else {
      activate(list, one, false);
      activate(list, two, true);
    }
    EXPECT_TRUE(list.settle().frontChanged);
    EXPECT_EQ(list.front(), two);
    EXPECT_FALSE(list.settle().frontChanged);
  }
}

TEST(WlrootsToplevels, TheLastActivatedWinsWhenTwoClaimIt) {
  ToplevelList list;
  const std::uint64_t one = open(list, "foot", "first", true);
  list.settle();
  // A compositor that has not yet sent the old window's deactivation.
  const std::uint64_t two = open(list, "firefox", "page", true);
  EXPECT_TRUE(list.settle().frontChanged);
  EXPECT_EQ(list.front(), two);
  // The old one deactivated later changes nothing.
  activate(list, one, false);
  EXPECT_FALSE(list.settle().frontChanged);
  EXPECT_EQ(list.front(), two);
}

TEST(WlrootsToplevels, ClosingOrLeavingTheFrontLeavesNothingInFront) {
  ToplevelList list;
  const std::uint64_t one = open(list, "foot", "first", true);
  const std::uint64_t two = open(list, "foot", "second", false);
  list.settle();
  list.closed(one);
  EXPECT_TRUE(list.settle().frontChanged);
  EXPECT_EQ(list.front(), 0u);

  activate(list, two, true);
  EXPECT_TRUE(list.settle().frontChanged);
  EXPECT_EQ(list.front(), two);
  // Focus on an empty workspace: deactivated with no other toplevel activated.
  activate(list, two, false);
  EXPECT_TRUE(list.settle().frontChanged);
  EXPECT_EQ(list.front(), 0u);
  EXPECT_FALSE(list.settle().frontChanged);
}

TEST(WlrootsToplevels, TitleChangesAreReportedForTheFrontOnly) {
  ToplevelList list;
  const std::uint64_t one = open(list, "foot", "first", true);
  const std::uint64_t two = open(list, "foot", "second", false);
  list.settle();

  list.setTitle(two, "second renamed");
  list.done(two);
  ToplevelList::Settled settled = list.settle();
  EXPECT_FALSE(settled.titleChanged);
  EXPECT_FALSE(settled.frontChanged);

  list.setTitle(one, "first renamed");
  list.done(one);
  settled = list.settle();
  EXPECT_TRUE(settled.titleChanged);
  EXPECT_FALSE(settled.frontChanged);

  // The same title again is no change.
  list.setTitle(one, "first renamed");
  list.done(one);
  EXPECT_FALSE(list.settle().titleChanged);
}

TEST(WlrootsToplevels, AnAppIdChangeInFrontIsAnActivation) {
  ToplevelList list;
  const std::uint64_t one = open(list, "", "starting", true);
  list.settle();
  list.setAppId(one, "org.example.App");
  list.done(one);
  const ToplevelList::Settled settled = list.settle();
  EXPECT_TRUE(settled.frontChanged);
  EXPECT_FALSE(settled.titleChanged);
}

TEST(WlrootsIdle, CountsFromTheLastInputOnceIdleIsReported) {
  IdleEstimate idle(1.0);
  EXPECT_EQ(idle.secondsSinceLastInput(100), 0);
  // Reported at 101: no input since 100.
  idle.idled(101);
  EXPECT_DOUBLE_EQ(idle.secondsSinceLastInput(101), 1);
  EXPECT_DOUBLE_EQ(idle.secondsSinceLastInput(160.5), 60.5);
  idle.resumed();
  EXPECT_EQ(idle.secondsSinceLastInput(161), 0);
  // Never negative, even for a time before the report.
  idle.idled(200);
  EXPECT_EQ(idle.secondsSinceLastInput(198), 0);
}

}  // namespace
}  // namespace velto::platform
