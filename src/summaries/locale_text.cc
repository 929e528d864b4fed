#include "summaries/locale_text.h"

#include <unicode/dtfmtsym.h>
#include <unicode/listformatter.h>
#include <unicode/locid.h>

#include <memory>

namespace velto {

std::string weekdayName(Weekday weekday, std::string_view language) {
  UErrorCode status = U_ZERO_ERROR;
  icu::DateFormatSymbols symbols(icu::Locale(std::string(language).c_str()), status);
  int32_t count = 0;
  const icu::UnicodeString* names =
      symbols.getWeekdays(count, icu::DateFormatSymbols::STANDALONE, icu::DateFormatSymbols::WIDE);
  std::string out;
  // ICU's array is indexed by UCAL_SUNDAY (1) .. UCAL_SATURDAY (7).
  if (U_FAILURE(status) || names == nullptr || weekday < 1 || weekday >= count) return out;
  names[weekday].toUTF8String(out);
  return out;
}

std::string joinList(const std::vector<std::string>& items, std::string_view language) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::ListFormatter> formatter(
      icu::ListFormatter::createInstance(icu::Locale(std::string(language).c_str()), status));
  std::vector<icu::UnicodeString> unicode;
  for (const std::string& item : items) unicode.push_back(icu::UnicodeString::fromUTF8(item));
  std::string out;
  if (U_FAILURE(status) || !formatter) {
    for (size_t i = 0; i < items.size(); ++i) out += (i ? ", " : "") + items[i];
    return out;
  }
  icu::UnicodeString joined;
  formatter->format(unicode.data(), static_cast<int32_t>(unicode.size()), joined, status);
  if (U_FAILURE(status)) return out;
  return joined.toUTF8String(out);
}

}  // namespace velto
