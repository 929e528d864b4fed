#include "context/window_title_parser.h"

#include <unicode/uchar.h>

#include <array>

#include "context/unicode_text.h"

namespace velto {

namespace {

using icu::UnicodeString;

constexpr UChar32 kMarkers[] = {0x25CF /* ● */, 0x2022 /* • */, u'*'};

const std::array<UnicodeString, 6>& separators() {
  static const std::array<UnicodeString, 6> list = {
      UnicodeString(u" \u2014 "), UnicodeString(u" \u2013 "), UnicodeString(u" - "),
      UnicodeString(u" | "),      UnicodeString(u" \u00B7 "), UnicodeString(u" \u2022 ")};
  return list;
}

bool isDecimalDigit(UChar32 c) {
  return u_isdigit(c);
}

// Advances `offset` past white space.
int32_t skipWhiteSpace(const UnicodeString& text, int32_t offset) {
  while (offset < text.length() && text::isWhiteSpace(text.char32At(offset))) {
    offset = text.moveIndex32(offset, 1);
  }
  return offset;
}

// Advances `offset` past decimal digits.
int32_t skipDigits(const UnicodeString& text, int32_t offset) {
  while (offset < text.length() && isDecimalDigit(text.char32At(offset))) {
    offset = text.moveIndex32(offset, 1);
  }
  return offset;
}

std::optional<UnicodeString> prepareTitle(const UnicodeString& title) {
  UnicodeString text = text::trimmed(title);
  if (text.isEmpty()) return std::nullopt;
  const UChar32 first = text.char32At(0);
  for (UChar32 marker : kMarkers) {
    if (first == marker) {
      text.remove(0, skipWhiteSpace(text, text.moveIndex32(0, 1)));
      break;
    }
  }
  UnicodeString folded;
  bool inSpace = false;
  for (int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
    const UChar32 c = text.char32At(i);
    if (text::isWhiteSpace(c)) {
      if (!inSpace) folded.append(u' ');
      inSpace = true;
    } else {
      folded.append(c);
      inSpace = false;
    }
  }
  return folded;
}

// Lower-cased letters and digits only.
UnicodeString alphanumerics(const UnicodeString& text) {
  const UnicodeString lower = text::lowerCased(text);
  UnicodeString kept;
  for (int32_t i = 0; i < lower.length(); i = lower.moveIndex32(i, 1)) {
    const UChar32 c = lower.char32At(i);
    const int8_t type = u_charType(c);
    if (u_isalpha(c) || type == U_DECIMAL_DIGIT_NUMBER || type == U_LETTER_NUMBER ||
        type == U_OTHER_NUMBER) {
      kept.append(c);
    }
  }
  return kept;
}

bool namesApp(const UnicodeString& part, const UnicodeString& appKey) {
  const UnicodeString partKey = alphanumerics(part);
  if (partKey.countChar32() > 2 && appKey.countChar32() >= 3) {
    return partKey == appKey || partKey.endsWith(appKey) || appKey.endsWith(partKey);
  }
  return partKey == appKey;
}

// "^\d+\s*[x×]\s*\d+$"
bool isPixelSize(const UnicodeString& value) {
  int32_t i = skipDigits(value, 0);
  if (i == 0) return false;
  i = skipWhiteSpace(value, i);
  if (i >= value.length() || (value.charAt(i) != u'x' && value.charAt(i) != u'\u00D7')) {
    return false;
  }
  i = skipWhiteSpace(value, i + 1);
  const int32_t digits = i;
  i = skipDigits(value, i);
  return i > digits && i == value.length();
}

// "^[0-9.]+$"
bool isNumberOrVersion(const UnicodeString& value) {
  if (value.isEmpty()) return false;
  for (int32_t i = 0; i < value.length(); ++i) {
    const char16_t c = value.charAt(i);
    if (c != u'.' && (c < u'0' || c > u'9')) return false;
  }
  return true;
}

bool isGenericValue(const UnicodeString& value) {
  static const std::array<UnicodeString, 7> kJunk = {
      UnicodeString(u"new tab"), UnicodeString(u"new window"), UnicodeString(u"untitled"),
      UnicodeString(u"no name"), UnicodeString(u"default"),    UnicodeString(u"home"),
      UnicodeString(u"~")};
  const UnicodeString v = text::trimmed(text::lowerCased(value));
  if (text::characterCount(v) < 2) return true;
  for (const UnicodeString& junk : kJunk) {
    if (v == junk) return true;
  }
  return v.startsWith(UnicodeString(u"untitled")) || isPixelSize(v) || isNumberOrVersion(v);
}

UnicodeString cleanValue(const UnicodeString& value) {
  const int32_t max = WindowTitleParser::kMaxCharacters;
  const int32_t cut = text::offsetOfCharacter(value, max);
  if (cut >= value.length()) return value;
  int32_t end = cut;
  const int32_t blank = text::lastBlankCharacterIndex(value, cut);
  if (blank >= 25) end = text::offsetOfCharacter(value, blank);
  UnicodeString shortened = text::trimmedEnd(UnicodeString(value, 0, end));
  shortened.append(u'\u2026');
  return shortened;
}

std::vector<UnicodeString> splitOn(const UnicodeString& text, const UnicodeString& separator) {
  std::vector<UnicodeString> pieces;
  int32_t start = 0;
  while (true) {
    const int32_t found = text.indexOf(separator, start);
    if (found < 0) break;
    pieces.push_back(text::trimmed(UnicodeString(text, start, found - start)));
    start = found + separator.length();
  }
  pieces.push_back(text::trimmed(UnicodeString(text, start)));
  return pieces;
}

std::vector<UnicodeString> partsOf(const UnicodeString& prepared, std::string_view appName) {
  std::vector<UnicodeString> parts = {prepared};
  for (const UnicodeString& separator : separators()) {
    std::vector<UnicodeString> next;
    for (const UnicodeString& part : parts) {
      for (UnicodeString& piece : splitOn(part, separator)) next.push_back(std::move(piece));
    }
    parts = std::move(next);
  }
  const UnicodeString appKey = alphanumerics(text::toUnicode(appName));
  std::vector<UnicodeString> kept;
  for (UnicodeString& part : parts) {
    if (!namesApp(part, appKey) && !isGenericValue(part)) kept.push_back(std::move(part));
  }
  return kept;
}

std::optional<std::string> cleanedUnlessGeneric(const UnicodeString& value) {
  if (isGenericValue(value)) return std::nullopt;
  return text::toUtf8(cleanValue(value));
}

enum class Pick { first, last };

std::optional<std::string> pickPart(std::string_view title, std::string_view appName, Pick pick) {
  const std::optional<UnicodeString> prepared = prepareTitle(text::toUnicode(title));
  if (!prepared) return std::nullopt;
  const std::vector<UnicodeString> parts = partsOf(*prepared, appName);
  if (parts.empty()) return std::nullopt;
  return cleanedUnlessGeneric(pick == Pick::first ? parts.front() : parts.back());
}

// Removes "^\(\d+\)\s*".
void removeUnreadCount(UnicodeString& text) {
  if (!text.startsWith(UnicodeString(u"("))) return;
  const int32_t digitsEnd = skipDigits(text, 1);
  if (digitsEnd == 1 || digitsEnd >= text.length() || text.charAt(digitsEnd) != u')') return;
  text.remove(0, skipWhiteSpace(text, digitsEnd + 1));
}

// An optional sign followed by ASCII digits.
bool isWholeNumber(const UnicodeString& text) {
  int32_t i = 0;
  if (i < text.length() && (text.charAt(i) == u'+' || text.charAt(i) == u'-')) ++i;
  if (i >= text.length()) return false;
  for (; i < text.length(); ++i) {
    if (text.charAt(i) < u'0' || text.charAt(i) > u'9') return false;
  }
  return true;
}

// The text of the first match of "\(([^)]+)\)" that is not a whole number.
std::optional<UnicodeString> parenthesisedText(const UnicodeString& text) {
  int32_t from = 0;
  while (true) {
    const int32_t open = text.indexOf(u'(', from);
    if (open < 0) return std::nullopt;
    const int32_t close = text.indexOf(u')', open + 1);
    if (close < 0) return std::nullopt;
    if (close == open + 1) {
      from = open + 1;
      continue;
    }
    UnicodeString inner(text, open + 1, close - open - 1);
    if (!isWholeNumber(inner)) return inner;
    from = close + 1;
  }
}

const std::array<UnicodeString, 12>& shellNames() {
  static const std::array<UnicodeString, 12> names = {
      UnicodeString(u"zsh"),   UnicodeString(u"-zsh"),   UnicodeString(u"bash"),
      UnicodeString(u"-bash"), UnicodeString(u"fish"),   UnicodeString(u"-fish"),
      UnicodeString(u"sh"),    UnicodeString(u"-sh"),    UnicodeString(u"login"),
      UnicodeString(u"tmux"),  UnicodeString(u"screen"), UnicodeString(u"zellij")};
  return names;
}

bool isShellName(const UnicodeString& part) {
  const UnicodeString lower = text::lowerCased(part);
  for (const UnicodeString& shell : shellNames()) {
    if (lower == shell) return true;
  }
  return false;
}

struct TerminalPart {
  UnicodeString text;
  bool isPath = false;
};

// A shell prompt keeps its directory; a path keeps its last component. None: a path without
// any component, such as "/".
std::optional<TerminalPart> reduce(const UnicodeString& part) {
  UnicodeString text = part;
  if (text.indexOf(u'@') >= 0) {
    const int32_t colon = text.indexOf(u':');
    if (colon >= 0) text = text::trimmed(UnicodeString(text, colon + 1));
  }
  if (text.indexOf(u'/') < 0 && !text.startsWith(UnicodeString(u"~"))) return TerminalPart{text};
  if (text.endsWith(UnicodeString(u"/"))) text.truncate(text.length() - 1);
  int32_t end = text.length();
  while (end > 0) {
    const int32_t slash = text.lastIndexOf(u'/', 0, end);
    const int32_t start = slash + 1;
    if (end > start) return TerminalPart{UnicodeString(text, start, end - start), true};
    end = slash;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> WindowTitleParser::leading(std::string_view title,
                                                      std::string_view appName) {
  return pickPart(title, appName, Pick::first);
}

std::optional<std::string> WindowTitleParser::trailing(std::string_view title,
                                                       std::string_view appName) {
  return pickPart(title, appName, Pick::last);
}

std::optional<std::string> WindowTitleParser::window(std::string_view title,
                                                     std::string_view appName) {
  return pickPart(title, appName, Pick::first);
}

std::optional<std::string> WindowTitleParser::chat(std::string_view title,
                                                   std::string_view appName) {
  std::optional<UnicodeString> prepared = prepareTitle(text::toUnicode(title));
  if (!prepared) return std::nullopt;
  removeUnreadCount(*prepared);
  if (std::optional<UnicodeString> inner = parenthesisedText(*prepared)) {
    if (auto cleaned = cleanedUnlessGeneric(text::trimmed(*inner))) return cleaned;
  }
  const std::vector<UnicodeString> parts = partsOf(*prepared, appName);
  if (parts.empty()) return std::nullopt;
  return cleanedUnlessGeneric(parts.back());
}

TerminalTitle WindowTitleParser::terminal(std::string_view title, std::string_view appName) {
  const std::optional<UnicodeString> prepared = prepareTitle(text::toUnicode(title));
  if (!prepared) return {};
  std::vector<TerminalPart> kept;
  for (const UnicodeString& part : partsOf(*prepared, appName)) {
    std::optional<TerminalPart> reduced = reduce(part);
    if (!reduced || isGenericValue(reduced->text) || isShellName(reduced->text)) continue;
    kept.push_back(std::move(*reduced));
  }
  TerminalTitle result;
  const TerminalPart* project = nullptr;
  const TerminalPart* other = nullptr;
  for (const TerminalPart& part : kept) {
    if (part.isPath && project == nullptr) project = &part;
    if (!part.isPath && other == nullptr) other = &part;
  }
  if (project != nullptr) result.project = text::toUtf8(cleanValue(project->text));
  if (other != nullptr) result.tool = text::toUtf8(cleanValue(other->text));
  return result;
}

std::optional<std::string> WindowTitleParser::prepare(std::string_view title) {
  std::optional<UnicodeString> prepared = prepareTitle(text::toUnicode(title));
  if (!prepared) return std::nullopt;
  return text::toUtf8(*prepared);
}

std::vector<std::string> WindowTitleParser::parts(std::string_view title,
                                                  std::string_view appName) {
  std::vector<std::string> result;
  const std::optional<UnicodeString> prepared = prepareTitle(text::toUnicode(title));
  if (!prepared) return result;
  for (const UnicodeString& part : partsOf(*prepared, appName)) {
    result.push_back(text::toUtf8(part));
  }
  return result;
}

bool WindowTitleParser::isGeneric(std::string_view value) {
  return isGenericValue(text::toUnicode(value));
}

std::string WindowTitleParser::clean(std::string_view value) {
  return text::toUtf8(cleanValue(text::toUnicode(value)));
}

}  // namespace velto
