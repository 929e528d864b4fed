#include "base/text_format.h"

namespace velto {

namespace {

bool isConversion(char c) {
  switch (c) {
    case '@':
    case 's':
    case 'd':
    case 'i':
    case 'u':
    case 'f':
    case 'g':
      return true;
    default:
      return false;
  }
}

// Length of the placeholder starting at pattern[i] == '%', or 0 when it is none. A placeholder
// is '%', an optional argument position ("2$", counted from 1, stored in `position`), an
// optional "{...}" privacy annotation, optional length modifiers (l, ll, h, z, q) and a
// conversion character.
size_t placeholderLength(std::string_view pattern, size_t i, size_t& position) {
  size_t j = i + 1;
  position = 0;
  size_t digits = j;
  while (digits < pattern.size() && pattern[digits] >= '0' && pattern[digits] <= '9') ++digits;
  if (digits > j && digits < pattern.size() && pattern[digits] == '$') {
    for (size_t k = j; k < digits; ++k) position = position * 10 + (pattern[k] - '0');
    j = digits + 1;
  }
  if (j < pattern.size() && pattern[j] == '{') {
    const size_t close = pattern.find('}', j);
    if (close == std::string_view::npos) return 0;
    j = close + 1;
  }
  while (j < pattern.size() &&
         (pattern[j] == 'l' || pattern[j] == 'h' || pattern[j] == 'z' || pattern[j] == 'q')) {
    ++j;
  }
  if (j < pattern.size() && isConversion(pattern[j])) return j + 1 - i;
  return 0;
}

}  // namespace

std::string fillPlaceholders(std::string_view pattern, const std::vector<std::string>& args) {
  std::string out;
  out.reserve(pattern.size() + 16 * args.size());
  size_t next = 0;
  size_t i = 0;
  while (i < pattern.size()) {
    if (pattern[i] == '%') {
      if (pattern.substr(i, 2) == "%%") {
        out += '%';
        i += 2;
        continue;
      }
      size_t position = 0;
      if (const size_t length = placeholderLength(pattern, i, position); length > 0) {
        const size_t index = position > 0 ? position - 1 : next++;
        if (index < args.size()) out += args[index];
        i += length;
        continue;
      }
    }
    out += pattern[i];
    ++i;
  }
  return out;
}

}  // namespace velto
