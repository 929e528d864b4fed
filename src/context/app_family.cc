#include "context/app_family.h"

#include <array>

#include "base/raw_values.h"

namespace velto {

namespace {

constexpr std::array<std::string_view, 6> kFamilies = {"browser", "terminal", "editor",
                                                       "chat",    "document", "media"};
constexpr std::array<std::string_view, 5> kStrategies = {"ignore", "leading", "trailing", "chat",
                                                         "terminal"};

}  // namespace

std::string_view rawValue(AppFamily family) {
  return kFamilies[static_cast<size_t>(family)];
}

std::optional<AppFamily> appFamilyFromRaw(std::string_view raw) {
  return enumFromRaw<AppFamily>(kFamilies, raw);
}

std::string_view rawValue(TitleStrategy strategy) {
  return kStrategies[static_cast<size_t>(strategy)];
}

std::optional<TitleStrategy> titleStrategyFromRaw(std::string_view raw) {
  return enumFromRaw<TitleStrategy>(kStrategies, raw);
}

}  // namespace velto
