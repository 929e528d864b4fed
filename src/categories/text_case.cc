#include "categories/text_case.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace velto {

namespace {

bool isAscii(std::string_view text) {
  for (char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

bool isValidUtf8(std::string_view text) {
  size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    size_t length = lead < 0x80           ? 1
                    : (lead >> 5) == 0x6  ? 2
                    : (lead >> 4) == 0xE  ? 3
                    : (lead >> 3) == 0x1E ? 4
                                          : 0;
    if (length == 0 || i + length > text.size()) return false;
    for (size_t k = 1; k < length; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) >> 6) != 0x2) return false;
    }
    i += length;
  }
  return true;
}

}  // namespace

void lowerCaseInto(std::string_view text, std::string& out) {
  out.assign(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (isAscii(text) || !isValidUtf8(text)) return;
  icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  unicode.toLower(icu::Locale::getRoot());
  out.clear();
  unicode.toUTF8String(out);
}

std::string lowerCased(std::string_view text) {
  std::string out;
  lowerCaseInto(text, out);
  return out;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r\n\f\v";
  const size_t begin = text.find_first_not_of(kSpace);
  if (begin == std::string_view::npos) return {};
  const size_t end = text.find_last_not_of(kSpace);
  return text.substr(begin, end - begin + 1);
}

}  // namespace velto
