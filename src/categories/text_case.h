// Case folding for matching identifiers, hosts and title words: both sides are lower-cased and
// compared as bytes.
#pragma once

#include <string>
#include <string_view>

namespace velto {

// `text` lower-cased: ASCII letters directly, other text through Unicode lower-casing (root
// locale). Text that is not valid UTF-8 only has its ASCII letters lowered.
std::string lowerCased(std::string_view text);
// The same into `out` (replacing its contents), so that a caller can reuse one buffer.
void lowerCaseInto(std::string_view text, std::string& out);

// `text` without leading and trailing ASCII white space.
std::string_view trimmed(std::string_view text);

}  // namespace velto
