// How AT-SPI objects read as AccessibleElement: roles, document addresses and states. Pure
// functions over the values the accessibility bus returns, so they are tested without a bus.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "context/accessible_tab_reader.h"

namespace velto::platform::atspi {

// AtspiRole values (org.a11y.atspi.Accessible GetRole) that the tab reader cares about.
inline constexpr std::uint32_t kRoleFrame = 23;
inline constexpr std::uint32_t kRoleText = 61;
inline constexpr std::uint32_t kRoleEntry = 79;
inline constexpr std::uint32_t kRoleDocumentFrame = 82;
inline constexpr std::uint32_t kRoleDocumentWeb = 95;

// AtspiStateType index of "active" (the window the user works in) in GetState's bit set.
inline constexpr std::uint32_t kStateActive = 1;

// The element role for an AtspiRole: documents are web areas, entries and text are text
// fields (the address bar), everything else is searched through.
AccessibleElement::Role roleOf(std::uint32_t atspiRole);

// The address of a document from its attributes (org.a11y.atspi.Document GetAttributes):
// Gecko's "DocURL", else Chromium's "URI". None when neither is there or both are empty.
std::optional<std::string> documentAddress(const std::map<std::string, std::string>& attributes);

// True when the state set (GetState: 32-bit words, the lowest word first) holds `state`.
bool hasState(std::span<const std::uint32_t> words, std::uint32_t state);

// Which of an application's frames the user works in, from each frame's state set (none where
// GetState failed): the first one that is active, else the only frame. None when no frame is
// active among several.
std::optional<std::size_t> activeFrameIndex(
    std::span<const std::optional<std::vector<std::uint32_t>>> frameStates);

}  // namespace velto::platform::atspi
