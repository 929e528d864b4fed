// String catalogs: every text a user sees, keyed by its localisation key (for example
// "away.prompt.yes %@"), in the interface languages en, tr, de, es and fr.
//
// The catalogs are resources/i18n/<code>.json, embedded into the binary at build time. A key
// missing from a language falls back to English, then to the key itself without its
// placeholders. Thread-safe after first use.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/text_format.h"

namespace velto::i18n {

inline constexpr std::string_view kLanguages[] = {"en", "tr", "de", "es", "fr"};

// The interface language for a "velto.uiLanguage" value: one of kLanguages as given, or, for
// "auto" and anything unknown, the session's language ($LANGUAGE, $LC_ALL, $LC_MESSAGES, $LANG)
// when it is one of kLanguages, else "en".
std::string resolveLanguage(std::string_view setting);

// The catalog text of `key` in `language` (unfilled).
std::string_view lookup(std::string_view language, std::string_view key);

// True when `language`'s own catalog has `key` (no fallback).
bool has(std::string_view language, std::string_view key);

// Every key of `language`'s catalog, sorted.
std::vector<std::string> keys(std::string_view language);

template <typename... Args>
std::string text(std::string_view language, std::string_view key, const Args&... args) {
  return fill(lookup(language, key), args...);
}

}  // namespace velto::i18n
