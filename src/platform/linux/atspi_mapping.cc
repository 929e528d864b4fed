#include "platform/linux/atspi_mapping.h"

namespace velto::platform::atspi {

AccessibleElement::Role roleOf(std::uint32_t atspiRole) {
  switch (atspiRole) {
    case kRoleDocumentWeb:
    case kRoleDocumentFrame:
      return AccessibleElement::Role::webArea;
    case kRoleEntry:
    case kRoleText:
      return AccessibleElement::Role::textField;
    default:
      return AccessibleElement::Role::other;
  }
}

std::optional<std::string> documentAddress(const std::map<std::string, std::string>& attributes) {
  for (const char* key : {"DocURL", "URI"}) {
    auto found = attributes.find(key);
    if (found != attributes.end() && !found->second.empty()) return found->second;
  }
  return std::nullopt;
}

bool hasState(std::span<const std::uint32_t> words, std::uint32_t state) {
  const std::size_t word = state / 32;
  if (word >= words.size()) return false;
  return (words[word] >> (state % 32)) & 1u;
}

std::optional<std::size_t> activeFrameIndex(
    std::span<const std::optional<std::vector<std::uint32_t>>> frameStates) {
  for (std::size_t i = 0; i < frameStates.size(); ++i) {
    if (frameStates[i] && hasState(*frameStates[i], kStateActive)) return i;
  }
  if (frameStates.size() == 1) return 0;
  return std::nullopt;
}

}  // namespace velto::platform::atspi
