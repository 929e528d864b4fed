// Window titles that say nothing about what is in the window, so that no screen shows them as
// what time went to.
#pragma once

#include <string_view>

namespace velto {

// True for window titles that say nothing: one character or none, "new tab", "untitled…",
// "home", a size such as "1920 x 1080", digits and dots. Compared lower-cased and trimmed.
bool isMeaninglessWindowTitle(std::string_view title);

}  // namespace velto
