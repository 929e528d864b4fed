#include <gtest/gtest.h>
#include <unistd.h>

#include "cli/commands/recorder_presence.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto::cli {
namespace {

using velto::testing::at;

TEST(PauseArguments, UntilIsTheNextWallClockTimeInTheZone) {
  const Calendar berlin = *Calendar::named("Europe/Berlin");
  const Instant now = at("2026-11-14T12:00:00Z");  // 13:00 in Berlin
  EXPECT_EQ(nextTimeOfDay("14:30", now, berlin), at("2026-11-14T13:30:00Z"));
  EXPECT_EQ(nextTimeOfDay("9:05", now, berlin), at("2026-11-15T08:05:00Z"));
  EXPECT_EQ(nextTimeOfDay("13:00", now, berlin), at("2026-11-15T12:00:00Z"));
  for (const char* bad : {"24:00", "12:60", "1230", "12:3", "ab:cd", ":30", "123:00"}) {
    EXPECT_EQ(nextTimeOfDay(bad, now, berlin), std::nullopt) << bad;
  }
}

TEST(PauseArguments, OptionsAndTheirErrors) {
  const Calendar utc = *Calendar::named("UTC");
  const Instant now = at("2026-11-14T12:00:00Z");
  EXPECT_EQ(parsePauseArguments({}, now, utc).until, std::nullopt);
  EXPECT_EQ(parsePauseArguments({"--for", "30m"}, now, utc).until, at("2026-11-14T12:30:00Z"));
  EXPECT_EQ(parsePauseArguments({"--until", "18:00"}, now, utc).until, at("2026-11-14T18:00:00Z"));
  struct Case {
    std::vector<std::string> args;
    const char* error;
    const char* argument;
  };
  const Case cases[] = {
      {{"--for", "soon"}, "pause.badDuration %@", "soon"},
      {{"--until", "25:00"}, "pause.badTime %@", "25:00"},
      {{"--for"}, "recorder.badOption %@", "--for"},
      {{"--for", "1m", "--until", "18:00"}, "recorder.badOption %@", "--until"},
      {{"now"}, "recorder.badOption %@", "now"},
  };
  for (const Case& c : cases) {
    const PauseArguments parsed = parsePauseArguments(c.args, now, utc);
    EXPECT_EQ(parsed.error, c.error) << c.argument;
    EXPECT_EQ(parsed.errorArgument, c.argument);
    EXPECT_EQ(parsed.until, std::nullopt);
  }
}

TEST(RecorderLock, OneHolderAtATimeAndReleasedWithTheHolder) {
  velto::testing::TempDir dir;
  EXPECT_EQ(RecorderLock(dir.path()).holder(), std::nullopt);
  {
    RecorderLock first(dir.path());
    ASSERT_TRUE(first.acquire());
    EXPECT_EQ(RecorderLock(dir.path()).holder(), static_cast<int>(::getpid()));
    RecorderLock second(dir.path());
    EXPECT_FALSE(second.acquire());
  }
  EXPECT_EQ(RecorderLock(dir.path()).holder(), std::nullopt);
}

}  // namespace
}  // namespace velto::cli
