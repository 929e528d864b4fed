#include "base/text_format.h"

#include <array>

namespace velto {

namespace {

constexpr std::array<std::string_view, 7> kPlaceholders = {
    "%{bool,public}d", "%{public}s", "%{public}d", "%{public}@", "%lld", "%@", "%d"};

}  // namespace

std::string fillPlaceholders(std::string_view pattern, const std::vector<std::string>& args) {
  std::string out;
  out.reserve(pattern.size() + 16 * args.size());
  size_t next = 0;
  size_t i = 0;
  while (i < pattern.size()) {
    if (pattern[i] == '%') {
      bool matched = false;
      for (std::string_view placeholder : kPlaceholders) {
        if (pattern.substr(i, placeholder.size()) == placeholder) {
          if (next < args.size()) out += args[next];
          ++next;
          i += placeholder.size();
          matched = true;
          break;
        }
      }
      if (matched) continue;
      if (pattern.substr(i, 2) == "%s") {
        if (next < args.size()) out += args[next];
        ++next;
        i += 2;
        continue;
      }
      if (pattern.substr(i, 2) == "%%") {
        out += '%';
        i += 2;
        continue;
      }
    }
    out += pattern[i];
    ++i;
  }
  return out;
}

}  // namespace velto
