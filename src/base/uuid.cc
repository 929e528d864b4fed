#include "base/uuid.h"

#include <uuid/uuid.h>

#include <algorithm>
#include <cstring>

namespace velto {

Uuid Uuid::random() {
  Bytes bytes;
  uuid_generate_random(bytes.data());
  return Uuid(bytes);
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  char buffer[37];
  std::memcpy(buffer, text.data(), 36);
  buffer[36] = '\0';
  Bytes bytes;
  if (uuid_parse(buffer, bytes.data()) != 0) return std::nullopt;
  return Uuid(bytes);
}

std::optional<Uuid> Uuid::fromBytes(const void* data, size_t size) {
  if (data == nullptr || size != 16) return std::nullopt;
  Bytes bytes;
  std::memcpy(bytes.data(), data, 16);
  return Uuid(bytes);
}

std::string Uuid::toString() const {
  char buffer[37];
  uuid_unparse_lower(bytes_.data(), buffer);
  return buffer;
}

bool Uuid::isNil() const {
  return std::all_of(bytes_.begin(), bytes_.end(), [](std::uint8_t b) { return b == 0; });
}

}  // namespace velto
