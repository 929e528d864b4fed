#include "context/meaningless_title.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <string>

namespace velto {

bool isMeaninglessWindowTitle(std::string_view title) {
  icu::UnicodeString text = icu::UnicodeString::fromUTF8(
      icu::StringPiece(title.data(), static_cast<int32_t>(title.size())));
  text.trim();
  text.toLower(icu::Locale::getRoot());
  if (text.countChar32() <= 1) return true;
  std::string lower;
  text.toUTF8String(lower);
  for (const char* word :
       {"new tab", "new window", "untitled", "no name", "default", "home", "~"}) {
    if (lower == word) return true;
  }
  if (lower.rfind("untitled", 0) == 0) return true;
  // Digits and dots only.
  if (lower.find_first_not_of("0123456789.") == std::string::npos) return true;
  // A size: digits, optional white space, 'x' or '×', optional white space, digits.
  int32_t i = 0;
  const int32_t n = text.length();
  auto digits = [&] {
    const int32_t from = i;
    while (i < n && u_isdigit(text.char32At(i))) i = text.moveIndex32(i, 1);
    return i > from;
  };
  auto spaces = [&] {
    while (i < n && u_isUWhiteSpace(text.char32At(i))) i = text.moveIndex32(i, 1);
  };
  if (!digits()) return false;
  spaces();
  if (i >= n || (text.char32At(i) != U'x' && text.char32At(i) != 0x00D7)) return false;
  i = text.moveIndex32(i, 1);
  spaces();
  return digits() && i == n;
}

}  // namespace velto
