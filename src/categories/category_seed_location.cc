#include "categories/category_seed_location.h"

#include <system_error>

namespace velto {

namespace {

constexpr const char* kFileName = "categories.json";

}  // namespace

std::vector<std::filesystem::path> categorySeedCandidates(const std::filesystem::path& executable) {
  const std::filesystem::path dir = executable.parent_path();
  std::vector<std::filesystem::path> out = {
      (dir / ".." / "share" / "velto" / kFileName).lexically_normal(),
      (dir / ".." / ".." / "resources" / kFileName).lexically_normal(),
  };
#ifdef VELTO_RESOURCE_DIR
  out.push_back(std::filesystem::path(VELTO_RESOURCE_DIR) / kFileName);
#endif
  return out;
}

std::optional<std::filesystem::path> findCategorySeed(const std::filesystem::path& executable) {
  for (const std::filesystem::path& candidate : categorySeedCandidates(executable)) {
    std::error_code error;
    if (std::filesystem::is_regular_file(candidate, error)) return candidate;
  }
  return std::nullopt;
}

std::optional<std::filesystem::path> currentExecutable() {
  std::error_code error;
  std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error || self.empty()) return std::nullopt;
  return self;
}

CategorySeed loadShippedCategorySeed() {
  const auto executable = currentExecutable();
  return CategorySeed::load(executable ? findCategorySeed(*executable) : std::nullopt);
}

}  // namespace velto
