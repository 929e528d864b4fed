// Fills the placeholders of a fixed message with arguments, in order.
//
// A placeholder is '%', an optional argument position, an optional "{...}" annotation, optional
// length modifiers and one of @ s d i u f g: "%@", "%2$@", "%lld", "%{public}s", "%{public}ld",
// "%{bool,public}d". Placeholders without a position take the arguments in order. "%%" is '%'. Log
// lines and catalog texts are kept in code exactly as they are written, and this turns them into
// the text that is shown or logged.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velto {

std::string fillPlaceholders(std::string_view pattern, const std::vector<std::string>& args);

template <typename... Args>
std::string fill(std::string_view pattern, const Args&... args) {
  return fillPlaceholders(pattern, std::vector<std::string>{std::string(args)...});
}

// "true" / "false" for the "%{bool,public}d" placeholder.
inline std::string boolText(bool value) {
  return value ? "true" : "false";
}

}  // namespace velto
