// The built-in table that files applications and sites under the built-in categories, read
// once at start from the resource "categories.json" (format in categories/category_seed_file.h)
// and immutable afterwards, so any thread may read it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "categories/category_seed_file.h"
#include "categories/usage_category.h"

namespace velto {

class CategorySeed {
 public:
  using File = CategorySeedFile;
  using Group = CategorySeedGroup;

  // No entries: everything the seed is asked about is unknown.
  CategorySeed() = default;

  // The table of a decoded file. Entries that fail validation are left out (groups of unknown
  // categories, empty keys, hosts that are not bare); a key listed under two categories keeps
  // the first. Keys are lower-cased. A file of another version is still used as far as it goes.
  static CategorySeed fromFile(const File& file);

  // Reads, validates and tables the file at `path`, logging as the loader must: a missing file
  // ("Category seed missing from the bundle - starting with an empty table"), an unreadable one
  // ("Category seed unreadable: %{public}s") and the problems found ("Category seed has
  // %{public}ld problem(s): %{public}s"). Never fails: the table is empty when the file is
  // missing or unreadable. None for `path` means the seed could not be found at all.
  static CategorySeed load(const std::optional<std::filesystem::path>& path);

  // The category of a bundle identifier or a host, each already lower-cased and looked up as a
  // whole (the resolver walks host suffixes).
  std::optional<BuiltInCategory> appCategory(std::string_view lowerBundleId) const;
  std::optional<BuiltInCategory> hostCategory(std::string_view lowerHost) const;

  size_t appCount() const { return apps_.size(); }
  size_t hostCount() const { return hosts_.size(); }

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };
  using Table = std::unordered_map<std::string, BuiltInCategory, Hash, std::equal_to<>>;

  Table apps_;
  Table hosts_;
};

}  // namespace velto
