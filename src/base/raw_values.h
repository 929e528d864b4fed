// Coded values stored as text: the enumerator whose raw text is `raw`, for enums whose
// enumerators follow the order of their names' table.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace velto {

template <typename Enum, size_t N>
std::optional<Enum> enumFromRaw(const std::array<std::string_view, N>& names,
                                std::string_view raw) {
  for (size_t i = 0; i < N; ++i) {
    if (names[i] == raw) return static_cast<Enum>(i);
  }
  return std::nullopt;
}

}  // namespace velto
