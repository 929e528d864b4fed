#include "base/strings.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>

#include "base/log.h"

namespace velto::i18n {

// Generated from resources/i18n (cmake/WriteCatalogs.cmake).
const std::vector<std::pair<std::string_view, std::string_view>>& embeddedCatalogs();

namespace {

using Catalog = std::map<std::string, std::string, std::less<>>;

Catalog parse(std::string_view language, std::string_view text) {
  Catalog catalog;
  nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
  if (!json.is_object()) {
    log::error("String catalog %{public}s is not a JSON object", std::string(language));
    return catalog;
  }
  for (const auto& [key, value] : json.items()) {
    if (value.is_string()) catalog.emplace(key, value.get<std::string>());
  }
  return catalog;
}

// A language's catalog, parsed on its first use (a process mostly needs one or two of them).
// Catalogs are never changed or dropped once parsed, so the pointer stays valid.
const Catalog* catalogOf(std::string_view language) {
  static std::mutex mutex;
  static std::map<std::string, Catalog, std::less<>> parsed;
  std::lock_guard lock(mutex);
  if (auto found = parsed.find(language); found != parsed.end()) return &found->second;
  for (const auto& [name, text] : embeddedCatalogs()) {
    if (name == language)
      return &parsed.emplace(std::string(name), parse(name, text)).first->second;
  }
  return nullptr;
}

const std::string* find(std::string_view language, std::string_view key) {
  const Catalog* catalog = catalogOf(language);
  if (catalog == nullptr) return nullptr;
  auto entry = catalog->find(key);
  return entry == catalog->end() ? nullptr : &entry->second;
}

bool isSupported(std::string_view code) {
  return std::find(std::begin(kLanguages), std::end(kLanguages), code) != std::end(kLanguages);
}

// "de_DE.UTF-8" -> "de"; "C" -> "".
std::string languageOfLocale(std::string_view locale) {
  locale = locale.substr(0, locale.find_first_of("_.@"));
  if (locale.size() < 2 || locale == "C" || locale == "POSIX") return "";
  std::string code(locale);
  std::transform(code.begin(), code.end(), code.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return code;
}

}  // namespace

std::string resolveLanguage(std::string_view setting) {
  if (isSupported(setting)) return std::string(setting);
  // $LANGUAGE is a colon-separated preference list; the others hold one locale.
  if (const char* list = std::getenv("LANGUAGE"); list != nullptr && *list != '\0') {
    std::string_view rest = list;
    while (!rest.empty()) {
      const size_t colon = rest.find(':');
      const std::string code = languageOfLocale(rest.substr(0, colon));
      if (isSupported(code)) return code;
      if (colon == std::string_view::npos) break;
      rest.remove_prefix(colon + 1);
    }
  }
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (const char* value = std::getenv(variable); value != nullptr && *value != '\0') {
      const std::string code = languageOfLocale(value);
      return isSupported(code) ? code : "en";
    }
  }
  return "en";
}

std::string_view lookup(std::string_view language, std::string_view key) {
  if (const std::string* text = find(language, key)) return *text;
  if (const std::string* text = find("en", key)) return *text;
  // The key's text part: "away.prompt.yes %@" -> "away.prompt.yes".
  return key.substr(0, key.find(' '));
}

bool has(std::string_view language, std::string_view key) {
  return find(language, key) != nullptr;
}

std::vector<std::string> keys(std::string_view language) {
  std::vector<std::string> out;
  if (const Catalog* catalog = catalogOf(language)) {
    for (const auto& [key, value] : *catalog) out.push_back(key);
  }
  return out;
}

}  // namespace velto::i18n
