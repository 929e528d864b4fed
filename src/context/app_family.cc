#include "context/app_family.h"

#include <array>

namespace velto {

namespace {

constexpr std::array<std::string_view, 6> kFamilies = {"browser", "terminal", "editor",
                                                       "chat",    "document", "media"};
constexpr std::array<std::string_view, 5> kStrategies = {"ignore", "leading", "trailing", "chat",
                                                         "terminal"};

template <typename Enum, size_t N>
std::optional<Enum> fromRaw(const std::array<std::string_view, N>& names, std::string_view raw) {
  for (size_t i = 0; i < N; ++i) {
    if (names[i] == raw) return static_cast<Enum>(i);
  }
  return std::nullopt;
}

}  // namespace

std::string_view rawValue(AppFamily family) {
  return kFamilies[static_cast<size_t>(family)];
}

std::optional<AppFamily> appFamilyFromRaw(std::string_view raw) {
  return fromRaw<AppFamily>(kFamilies, raw);
}

std::string_view rawValue(TitleStrategy strategy) {
  return kStrategies[static_cast<size_t>(strategy)];
}

std::optional<TitleStrategy> titleStrategyFromRaw(std::string_view raw) {
  return fromRaw<TitleStrategy>(kStrategies, raw);
}

}  // namespace velto
