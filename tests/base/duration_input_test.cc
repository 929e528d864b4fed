#include "base/duration_input.h"

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(DurationInput, TheFormsPeopleType) {
  struct Case {
    const char* text;
    std::optional<double> seconds;
  };
  const Case cases[] = {
      // Accepted.
      {"45m", 2700},
      {"1h30m", 5400},
      {"2h", 7200},
      {"45s", 45},
      {"1h30m15s", 5415},
      {"1h 30m", 5400},
      {" 2h ", 7200},
      {"90", 5400},  // a bare number is minutes
      {"0h5m", 300},
      // Refused.
      {"", std::nullopt},
      {"   ", std::nullopt},
      {"0m", std::nullopt},
      {"0", std::nullopt},
      {"-5m", std::nullopt},
      {"1h30", std::nullopt},  // minutes or seconds?
      {"30 5m", std::nullopt},
      {"m", std::nullopt},
      {"10d", std::nullopt},
      {"1.5h", std::nullopt},
      {"30m1h", std::nullopt},  // largest unit first
      {"1h1h", std::nullopt},
      {"5M", std::nullopt},
      {"9999999m", std::nullopt},  // beyond a year
      {"12345678s", std::nullopt},
      {"2h!", std::nullopt},
  };
  for (const Case& c : cases) EXPECT_EQ(parseDuration(c.text), c.seconds) << '"' << c.text << '"';
}

TEST(DurationInput, WrittenBackInTheFormItIsRead) {
  for (double seconds : {45.0, 2700.0, 5400.0, 7200.0, 5415.0, 86400.0}) {
    const std::string text = durationInputText(seconds);
    EXPECT_EQ(parseDuration(text), seconds) << text;
  }
  EXPECT_EQ(durationInputText(5400), "1h30m");
  EXPECT_EQ(durationInputText(0), "0s");
}

}  // namespace
}  // namespace velto
