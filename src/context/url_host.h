// The host of a page address, as activity records and exclusions keep it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velto {

// The host of `url`, lower-cased and without a leading "www."; none for internal schemes
// ("about", "file", "chrome", "chrome-extension", "arc", "safari-resource", "moz-extension",
// "edge", "brave", "vivaldi", "data", "blob"), for addresses without an authority, for an empty
// host and for a host with characters no address may hold (white space, controls, quotes...).
// An IPv6 literal is given without its brackets. The path, query and fragment are never kept.
std::optional<std::string> hostFromUrl(std::string_view url);

}  // namespace velto
