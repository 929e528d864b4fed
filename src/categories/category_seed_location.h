// Where the shipped category seed lives at run time.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "categories/category_seed.h"

namespace velto {

// The places tried, in order, for the executable at `executable`:
//   <exe dir>/../share/velto/categories.json     an installed program
//   <exe dir>/../../resources/categories.json    a binary in <source>/<build>/bin
//   <VELTO_RESOURCE_DIR>/categories.json         when the build defines it
std::vector<std::filesystem::path> categorySeedCandidates(const std::filesystem::path& executable);

// The first candidate that exists; none when there is none.
std::optional<std::filesystem::path> findCategorySeed(const std::filesystem::path& executable);

// The running program's own path (/proc/self/exe); none when it cannot be read.
std::optional<std::filesystem::path> currentExecutable();

// The seed shipped with the running program (CategorySeed::load logs what goes wrong).
CategorySeed loadShippedCategorySeed();

}  // namespace velto
