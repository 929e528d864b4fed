#include "context/unicode_text.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>

#include <memory>

namespace velto::text {

namespace {

// A character break iterator for this thread; creating one per call costs more than the
// iteration itself. It refers to the last text given to it until the next setText, and is only
// used inside forEachCharacter.
icu::BreakIterator* characterIterator() {
  thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> made(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) made.reset();
    return made;
  }();
  return iterator.get();
}

// Calls `visit(characterIndex, startOffset)` for each character until it returns false.
template <typename Visit>
void forEachCharacter(const icu::UnicodeString& text, Visit visit) {
  icu::BreakIterator* iterator = characterIterator();
  if (iterator == nullptr) {
    // Without break data, fall back to code points.
    int32_t index = 0;
    for (int32_t offset = 0; offset < text.length(); offset = text.moveIndex32(offset, 1)) {
      if (!visit(index++, offset)) return;
    }
    return;
  }
  iterator->setText(text);
  int32_t index = 0;
  for (int32_t offset = iterator->first();
       offset != icu::BreakIterator::DONE && offset < text.length(); offset = iterator->next()) {
    if (!visit(index++, offset)) break;
  }
}

}  // namespace

icu::UnicodeString toUnicode(std::string_view utf8) {
  return icu::UnicodeString::fromUTF8(
      icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
}

std::string toUtf8(const icu::UnicodeString& text) {
  std::string out;
  text.toUTF8String(out);
  return out;
}

std::string lowerCased(std::string_view utf8) {
  return toUtf8(lowerCased(toUnicode(utf8)));
}

icu::UnicodeString lowerCased(const icu::UnicodeString& text) {
  icu::UnicodeString copy(text);
  copy.toLower(icu::Locale::getRoot());
  return copy;
}

bool isWhiteSpace(UChar32 c) {
  return u_isUWhiteSpace(c);
}

icu::UnicodeString trimmed(const icu::UnicodeString& text) {
  int32_t start = 0;
  while (start < text.length() && isWhiteSpace(text.char32At(start))) {
    start = text.moveIndex32(start, 1);
  }
  icu::UnicodeString rest(text, start);
  return trimmedEnd(rest);
}

std::string trimmed(std::string_view utf8) {
  return toUtf8(trimmed(toUnicode(utf8)));
}

icu::UnicodeString trimmedEnd(const icu::UnicodeString& text) {
  int32_t end = text.length();
  while (end > 0) {
    const int32_t previous = text.moveIndex32(end, -1);
    if (!isWhiteSpace(text.char32At(previous))) break;
    end = previous;
  }
  return icu::UnicodeString(text, 0, end);
}

int32_t characterCount(const icu::UnicodeString& text) {
  int32_t count = 0;
  forEachCharacter(text, [&](int32_t, int32_t) {
    ++count;
    return true;
  });
  return count;
}

int32_t offsetOfCharacter(const icu::UnicodeString& text, int32_t characters) {
  int32_t found = text.length();
  forEachCharacter(text, [&](int32_t index, int32_t offset) {
    if (index < characters) return true;
    found = offset;
    return false;
  });
  return found;
}

int32_t lastBlankCharacterIndex(const icu::UnicodeString& text, int32_t limit) {
  int32_t last = -1;
  forEachCharacter(text, [&](int32_t index, int32_t offset) {
    if (offset >= limit) return false;
    if (text.charAt(offset) == u' ') last = index;
    return true;
  });
  return last;
}

}  // namespace velto::text
