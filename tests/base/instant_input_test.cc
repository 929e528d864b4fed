#include "base/instant_input.h"

#include <gtest/gtest.h>

#include "base/iso8601.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

TEST(InstantInput, TheFormsPeopleTypeInTheCalendarsZone) {
  const Calendar berlin = *Calendar::named("Europe/Berlin");
  const Instant now = at("2026-11-24T15:00:00Z");  // 16:00 in Berlin
  struct Case {
    const char* text;
    std::optional<const char*> utc;
  };
  const Case cases[] = {
      {"2026-11-24T09:30", "2026-11-24T08:30:00Z"},
      {"2026-11-24 09:30:15", "2026-11-24T08:30:15Z"},
      {"2026-11-24", "2026-11-23T23:00:00Z"},
      {"09:30", "2026-11-24T08:30:00Z"},  // today, even when already past
      {"2026-11-24T09:30:00Z", "2026-11-24T09:30:00Z"},
      {"2026-11-24T09:30:00+05:00", "2026-11-24T04:30:00Z"},
      {"2026-07-01T12:00", "2026-07-01T10:00:00Z"},  // summer time
      // Refused.
      {"", std::nullopt},
      {"yesterday", std::nullopt},
      {"2026-02-30", std::nullopt},
      {"2026-13-01", std::nullopt},
      {"2026-03-29T02:30", std::nullopt},  // skipped by the clock change
      {"24:00", std::nullopt},
      {"9:30", std::nullopt},
      {"2026-11-24X09:30", std::nullopt},
      {"2026-11-24T09:61", std::nullopt},
  };
  for (const Case& c : cases) {
    const std::optional<Instant> parsed = parseInstantInput(c.text, berlin, now);
    if (c.utc) {
      ASSERT_TRUE(parsed) << c.text;
      EXPECT_EQ(formatIso8601(*parsed), *c.utc) << c.text;
    } else {
      EXPECT_FALSE(parsed) << c.text << " read as " << formatIso8601(*parsed);
    }
  }
}

}  // namespace
}  // namespace velto
