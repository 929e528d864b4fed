// The one writer of every duration the user sees: compact forms such as "2h 15m", "45m" or
// "30s", with unit words chosen by the interface language ("2 sa 15 dk" in Turkish,
// "1 h 30 min" in French).
//
// Input is seconds as a double. Hours, then minutes, are whole and truncated; seconds appear only
// for durations under a minute and never beside hours. Hour counts from 1000 on carry the digit
// grouping of the language's ICU locale ("1,234h", "1.234 h").
//
// Thread: main thread. Instances are cached per language for the life of the process.
#pragma once

#include <unicode/uversion.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

U_NAMESPACE_BEGIN
class NumberFormat;
U_NAMESPACE_END

namespace velto {

class DurationText {
 public:
  struct Units {
    std::string_view hours;
    std::string_view minutes;
    std::string_view seconds;
    bool spaced = false;  // a space between number and unit word
  };

  // The unit words for a two-letter interface language code ("tr", "de", ...). A longer locale
  // name ("de_DE", "fr-CA") counts by its language part; unknown codes get "h", "m", "s".
  static Units unitsFor(std::string_view languageCode);

  // The formatter for `languageCode`, built on first use and kept until exit. The reference
  // stays valid for the life of the process.
  static const DurationText& forLanguage(std::string_view languageCode);

  ~DurationText();
  DurationText(const DurationText&) = delete;
  DurationText& operator=(const DurationText&) = delete;

  const Units& units() const { return units_; }

  // `seconds` rounded to the nearest whole second first; negative and NaN read as zero.
  std::string format(double seconds) const;

 private:
  explicit DurationText(std::string_view language);

  std::string hoursNumber(long long hours) const;

  Units units_;
  std::string language_;
  // Made on the first hour count that needs grouping (ICU's formatters are large, and the
  // recorder rarely needs one). Null when ICU has none for the locale: plain digits then.
  mutable std::once_flag groupingMade_;
  mutable std::unique_ptr<icu::NumberFormat> grouping_;
};

}  // namespace velto
