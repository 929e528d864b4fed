// 128-bit identifiers for stored rows (random, version 4). Stored as 16 raw bytes; written as
// the usual lower-case 8-4-4-4-12 text.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

class Uuid {
 public:
  using Bytes = std::array<std::uint8_t, 16>;

  Uuid() = default;  // all zero
  explicit Uuid(const Bytes& bytes) : bytes_(bytes) {}

  static Uuid random();
  static std::optional<Uuid> parse(std::string_view text);
  // From exactly 16 bytes; none for any other length.
  static std::optional<Uuid> fromBytes(const void* data, size_t size);

  std::string toString() const;
  const Bytes& bytes() const { return bytes_; }
  bool isNil() const;

  auto operator<=>(const Uuid&) const = default;

 private:
  Bytes bytes_{};
};

}  // namespace velto

template <>
struct std::hash<velto::Uuid> {
  size_t operator()(const velto::Uuid& id) const noexcept {
    size_t seed = 0;
    for (std::uint8_t byte : id.bytes()) seed = seed * 131 + byte;
    return seed;
  }
};
