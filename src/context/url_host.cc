#include "context/url_host.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "context/unicode_text.h"

namespace velto {

namespace {

constexpr std::array<std::string_view, 12> kInternalSchemes = {
    "about",         "file", "chrome", "chrome-extension", "arc",  "safari-resource",
    "moz-extension", "edge", "brave",  "vivaldi",          "data", "blob"};

bool isAsciiAlpha(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The scheme before the first ":" when the text starts with one (RFC 3986: a letter, then
// letters, digits, "+", "-" or "."); none for a relative reference.
std::optional<std::string_view> schemeOf(std::string_view url) {
  if (url.empty() || !isAsciiAlpha(url.front())) return std::nullopt;
  for (size_t i = 1; i < url.size(); ++i) {
    const char c = url[i];
    if (c == ':') return url.substr(0, i);
    if (!isAsciiAlpha(c) && !std::isdigit(static_cast<unsigned char>(c)) && c != '+' && c != '-' &&
        c != '.') {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

bool isHexDigit(char c) {
  return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

// Rejects what a parser of addresses refuses in a host: ASCII controls, blanks, the characters
// that are never allowed unescaped, and a "%" not followed by two hex digits. Other bytes
// (internationalised names) pass.
bool isValidHost(std::string_view host) {
  constexpr std::string_view kForbidden = " \"<>\\^`{|}#?/@";
  for (size_t i = 0; i < host.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(host[i]);
    if (c < 0x20 || c == 0x7F || kForbidden.find(static_cast<char>(c)) != std::string_view::npos) {
      return false;
    }
    if (c == '%' &&
        (i + 2 >= host.size() || !isHexDigit(host[i + 1]) || !isHexDigit(host[i + 2]))) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::optional<std::string> hostFromUrl(std::string_view url) {
  std::string_view rest = url;
  if (std::optional<std::string_view> scheme = schemeOf(url)) {
    const std::string lower = text::lowerCased(*scheme);
    if (std::find(kInternalSchemes.begin(), kInternalSchemes.end(), lower) !=
        kInternalSchemes.end()) {
      return std::nullopt;
    }
    rest.remove_prefix(scheme->size() + 1);
  }
  if (!rest.starts_with("//")) return std::nullopt;
  rest.remove_prefix(2);
  std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
  if (const size_t at = authority.rfind('@'); at != std::string_view::npos) {
    authority.remove_prefix(at + 1);
  }
  std::string_view host;
  if (authority.starts_with('[')) {
    const size_t close = authority.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    host = authority.substr(1, close - 1);
    const std::string_view after = authority.substr(close + 1);
    if (!after.empty() && !after.starts_with(':')) return std::nullopt;
    if (host.find_first_not_of("0123456789abcdefABCDEF:.") != std::string_view::npos) {
      return std::nullopt;
    }
  } else {
    host = authority.substr(0, authority.find(':'));
  }
  if (host.empty() || !isValidHost(host)) return std::nullopt;
  std::string lower = text::lowerCased(host);
  if (lower.starts_with("www.") && text::characterCount(text::toUnicode(lower)) >= 5) {
    lower.erase(0, 4);
  }
  return lower;
}

}  // namespace velto
