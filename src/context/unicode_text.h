// UTF-8 text helpers for the context rules. "Character" means a user-perceived character (an
// extended grapheme cluster), so "…", "é" written with a combining accent and a flag emoji
// each count as one. Ill-formed UTF-8 input reads as U+FFFD; every returned text is well-formed.
//
// Thread: all functions may be called from any thread.
#pragma once

#include <unicode/unistr.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace velto::text {

icu::UnicodeString toUnicode(std::string_view utf8);
std::string toUtf8(const icu::UnicodeString& text);

// Lower-cased in the root locale (no language-specific rules).
std::string lowerCased(std::string_view utf8);
icu::UnicodeString lowerCased(const icu::UnicodeString& text);

// Without leading and trailing white space (the Unicode White_Space property, which covers
// blanks, tabs and every line break).
icu::UnicodeString trimmed(const icu::UnicodeString& text);
std::string trimmed(std::string_view utf8);
icu::UnicodeString trimmedEnd(const icu::UnicodeString& text);

bool isWhiteSpace(UChar32 c);

// Number of characters in `text`.
int32_t characterCount(const icu::UnicodeString& text);

// Code-unit offset at which character number `characters` (0-based) begins; text.length() when
// `text` has no more characters than that.
int32_t offsetOfCharacter(const icu::UnicodeString& text, int32_t characters);

// Character index of the last character that begins with U+0020 within the first `limit`
// code units, or -1 when there is none.
int32_t lastBlankCharacterIndex(const icu::UnicodeString& text, int32_t limit);

}  // namespace velto::text
