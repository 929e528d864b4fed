#include "reports/duration_text.h"

#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <mutex>

#include "base/log.h"

namespace velto {

namespace {

constexpr long long kSecondsPerHour = 3600;
constexpr long long kSecondsPerMinute = 60;
constexpr long long kFirstGroupedHours = 1000;
// Far beyond any real duration (about 31 million years) and well inside long long, so that
// infinities and absurd inputs still format instead of overflowing.
constexpr double kLargestSeconds = 1e15;

// "de_DE.UTF-8" -> "de", "fr-CA" -> "fr", "TR" -> "tr".
std::string languagePart(std::string_view code) {
  std::string language(code.substr(0, code.find_first_of("_-.@")));
  std::transform(language.begin(), language.end(), language.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return language;
}

long long wholeSeconds(double seconds) {
  if (!(seconds > 0)) return 0;  // negative, zero and NaN
  return static_cast<long long>(std::round(std::min(seconds, kLargestSeconds)));
}

void appendAmount(std::string& out, const std::string& number, std::string_view unit, bool spaced) {
  out += number;
  if (spaced) out += ' ';
  out += unit;
}

}  // namespace

DurationText::Units DurationText::unitsFor(std::string_view languageCode) {
  const std::string language = languagePart(languageCode);
  if (language == "tr") return {"sa", "dk", "sn", true};
  if (language == "de" || language == "es" || language == "fr") return {"h", "min", "s", true};
  return {"h", "m", "s", false};
}

const DurationText& DurationText::forLanguage(std::string_view languageCode) {
  static std::mutex mutex;
  static std::map<std::string, std::unique_ptr<DurationText>, std::less<>> cache;
  const std::string language = languagePart(languageCode);
  std::lock_guard lock(mutex);
  auto found = cache.find(language);
  if (found == cache.end()) {
    found =
        cache.emplace(language, std::unique_ptr<DurationText>(new DurationText(language))).first;
  }
  return *found->second;
}

DurationText::DurationText(std::string_view language)
    : units_(unitsFor(language)), language_(language) {}

DurationText::~DurationText() = default;

std::string DurationText::hoursNumber(long long hours) const {
  if (hours < kFirstGroupedHours) return std::to_string(hours);
  std::call_once(groupingMade_, [this] {
    UErrorCode status = U_ZERO_ERROR;
    // Grouping follows the language, digits stay ASCII like those of hour counts below 1000.
    icu::Locale locale(language_.c_str());
    locale.setKeywordValue("numbers", "latn", status);
    grouping_.reset(icu::NumberFormat::createInstance(locale, status));
    if (U_FAILURE(status) || grouping_ == nullptr) {
      log::error("No ICU number format for %{public}s: %{public}s", language_,
                 std::string(u_errorName(status)));
      grouping_.reset();
      return;
    }
    grouping_->setGroupingUsed(true);
    grouping_->setMaximumFractionDigits(0);
  });
  if (grouping_ == nullptr) return std::to_string(hours);
  icu::UnicodeString text;
  grouping_->format(static_cast<int64_t>(hours), text);
  std::string out;
  return text.toUTF8String(out);
}

std::string DurationText::format(double seconds) const {
  const long long s = wholeSeconds(seconds);
  std::string out;
  if (s >= kSecondsPerHour) {
    appendAmount(out, hoursNumber(s / kSecondsPerHour), units_.hours, units_.spaced);
    const long long rest = s % kSecondsPerHour;
    if (rest >= kSecondsPerMinute) {
      out += ' ';
      appendAmount(out, std::to_string(rest / kSecondsPerMinute), units_.minutes, units_.spaced);
    }
  } else if (s < kSecondsPerMinute) {
    appendAmount(out, std::to_string(s), units_.seconds, units_.spaced);
  } else {
    appendAmount(out, std::to_string(s / kSecondsPerMinute), units_.minutes, units_.spaced);
  }
  return out;
}

}  // namespace velto
