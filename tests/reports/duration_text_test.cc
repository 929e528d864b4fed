#include "reports/duration_text.h"

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/unistr.h>

#include <limits>
#include <memory>
#include <string>

namespace velto {
namespace {

TEST(DurationTextTest, WritesCompactDurations) {
  struct Case {
    const char* language;
    double seconds;
    const char* expected;
  };
  const Case cases[] = {
      {"en", 0, "0s"},
      {"en", 0.4, "0s"},
      {"en", 0.5, "1s"},
      {"en", 59.4, "59s"},
      {"en", 59.5, "1m"},
      {"en", 60, "1m"},
      {"en", 12 * 60 + 59, "12m"},  // leftover seconds are dropped
      {"en", 3599.4, "59m"},
      {"en", 3599.5, "1h"},
      {"en", 3600, "1h"},
      {"en", 3659, "1h"},  // never seconds beside hours
      {"en", 3660, "1h 1m"},
      {"en", 7199, "1h 59m"},  // minutes truncated, not rounded up to 2h
      {"en", 2 * 3600 + 15 * 60, "2h 15m"},
      {"en", 999 * 3600 + 59 * 60, "999h 59m"},
      {"en", 1000 * 3600, "1,000h"},
      {"en", 1234 * 3600 + 5 * 60, "1,234h 5m"},
      {"en", -5, "0s"},
      {"en", -7200, "0s"},
      {"en", std::numeric_limits<double>::quiet_NaN(), "0s"},
      {"en", -std::numeric_limits<double>::infinity(), "0s"},
      {"tr", 2 * 3600 + 15 * 60, "2 sa 15 dk"},
      {"tr", 45 * 60, "45 dk"},
      {"tr", 30, "30 sn"},
      {"tr", 1234 * 3600, "1.234 sa"},
      {"de", 45, "45 s"},
      {"de", 7199, "1 h 59 min"},
      {"de", 999 * 3600, "999 h"},
      {"de", 1000 * 3600, "1.000 h"},
      {"es", 3660, "1 h 1 min"},
      {"es", 0, "0 s"},
      {"fr", 5400, "1 h 30 min"},
      {"fr", 59.5, "1 min"},
      // Unknown codes use the compact English units.
      {"pt", 2 * 3600 + 15 * 60, "2h 15m"},
      {"ja", 45, "45s"},
      {"", 12 * 60, "12m"},
      // A locale name counts by its language part.
      {"de_DE", 45, "45 s"},
      {"TR", 30, "30 sn"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.language) + " " + std::to_string(c.seconds));
    EXPECT_EQ(DurationText::forLanguage(c.language).format(c.seconds), c.expected);
  }
}

// The grouping of `number` as ICU writes it for `language`.
std::string icuGrouped(const char* language, int64_t number) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::NumberFormat> format(
      icu::NumberFormat::createInstance(icu::Locale(language), status));
  EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
  if (!format) return "";
  icu::UnicodeString text;
  format->format(number, text);
  std::string out;
  return text.toUTF8String(out);
}

TEST(DurationTextTest, LargeHourCountsUseTheLanguagesGrouping) {
  struct Case {
    const char* language;
    const char* unitSuffix;
  };
  for (const Case& c :
       {Case{"en", "h"}, Case{"tr", " sa"}, Case{"de", " h"}, Case{"es", " h"}, Case{"fr", " h"}}) {
    SCOPED_TRACE(c.language);
    const std::string grouped = icuGrouped(c.language, 12345);
    EXPECT_NE(grouped, "12345");  // the locale does group at this size
    EXPECT_EQ(DurationText::forLanguage(c.language).format(12345 * 3600.0 + 59),
              grouped + c.unitSuffix);
    EXPECT_EQ(DurationText::forLanguage(c.language).format(999 * 3600.0),
              std::string("999") + c.unitSuffix);
  }
  // French groups with its own separator, not an ASCII space or comma.
  const std::string french = icuGrouped("fr", 1234);
  EXPECT_EQ(DurationText::forLanguage("fr").format(1234 * 3600.0 + 60), french + " h 1 min");
  EXPECT_EQ(french.find_first_of(" ,."), std::string::npos) << french;
}

TEST(DurationTextTest, HugeInputsStillFormat) {
  // Capped at 1e15 seconds rather than overflowing.
  EXPECT_EQ(DurationText::forLanguage("en").format(std::numeric_limits<double>::infinity()),
            "277,777,777,777h 46m");
  EXPECT_EQ(DurationText::forLanguage("en").format(1e300), "277,777,777,777h 46m");
}

TEST(DurationTextTest, UnitsFollowTheLanguageCode) {
  const DurationText::Units turkish = DurationText::unitsFor("tr");
  EXPECT_EQ(turkish.hours, "sa");
  EXPECT_EQ(turkish.minutes, "dk");
  EXPECT_EQ(turkish.seconds, "sn");
  EXPECT_TRUE(turkish.spaced);
  for (const char* code : {"de", "es", "fr"}) {
    const DurationText::Units units = DurationText::unitsFor(code);
    EXPECT_EQ(units.minutes, "min") << code;
    EXPECT_TRUE(units.spaced) << code;
  }
  for (const char* code : {"en", "pt", "it", "xx"}) {
    const DurationText::Units units = DurationText::unitsFor(code);
    EXPECT_EQ(units.minutes, "m") << code;
    EXPECT_FALSE(units.spaced) << code;
  }
  EXPECT_EQ(&DurationText::forLanguage("fr"), &DurationText::forLanguage("fr"));
}

}  // namespace
}  // namespace velto
