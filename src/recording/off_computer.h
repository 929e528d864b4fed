// Time spent away from the computer, and stretches named in free text.
//
// Such time is stored under synthetic bundle identifiers: "velto.offmac.<kind>" for the fixed
// kinds and "velto.manual.<slug>" for a typed label. Reports keep it apart from time at the
// computer.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "recording/activity_context.h"

namespace velto {

inline constexpr std::string_view kOffComputerPrefix = "velto.offmac.";
inline constexpr std::string_view kManualPrefix = "velto.manual.";

enum class OffMacKind { meeting, breakTime, phone, offline };

inline constexpr std::array<OffMacKind, 4> allOffMacKinds() {
  using enum OffMacKind;
  return {meeting, breakTime, phone, offline};
}

std::string_view rawValue(OffMacKind kind);
std::optional<OffMacKind> offMacKindFromRaw(std::string_view raw);
// The string-catalog key of the kind's name ("offMac.meeting", ...).
std::string_view localizationKey(OffMacKind kind);
// "velto.offmac.<raw value>".
std::string offMacBundleId(OffMacKind kind);
bool isOffComputer(std::string_view bundleId);

// The context of a stretch named by the user: the label trimmed of white space and line breaks
// becomes the app name; lower-cased and with its white-space runs joined by '-', it becomes the
// "velto.manual." identifier. None when nothing is left after trimming. UTF-8 in and out.
std::optional<ActivityContext> labelledContext(std::string_view label);

}  // namespace velto
