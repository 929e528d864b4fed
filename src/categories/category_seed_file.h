// The format of the built-in category table resource "categories.json":
//   {"version": 1, "categories": {"<built-in raw value>": {"apps": [...], "hosts": [...]}}}
// Apps are bundle identifiers (macOS bundle ids and the Linux desktop-file ids or WM_CLASS
// names); hosts are bare host names, each matching its subdomains too.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/result.h"

namespace velto {

inline constexpr std::int64_t kCategorySeedVersion = 1;

struct CategorySeedGroup {
  std::vector<std::string> apps;
  std::vector<std::string> hosts;
};

struct CategorySeedFile {
  std::int64_t version = 0;
  // Groups in the order the file lists them, keyed as written.
  std::vector<std::pair<std::string, CategorySeedGroup>> categories;
};

// Parses the file's text. Fails on text that is not JSON or does not have the shape above
// ("apps" and "hosts" may be left out); the error says where.
Result<CategorySeedFile> decodeCategorySeed(std::string_view text);

// Every problem of a decoded file, in file order, worded as they are logged: "version 2,
// expected 1", "unknown category 'x'", "empty app key", "empty host key", "host 'x' is not a
// bare host", "duplicate host key 'x'", "duplicate app key 'x'". Keys are compared lower-cased;
// a key repeated within one category is harmless and not reported.
std::vector<std::string> validateCategorySeed(const CategorySeedFile& file);

// A host name without scheme, user, port, path or blanks: dot-separated labels of ASCII
// letters, digits, '-' and '_', none empty, none longer than 63 characters, none starting or
// ending with '-'; 253 characters at most.
bool isBareHost(std::string_view host);

}  // namespace velto
