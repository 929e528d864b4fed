// Locale-dependent words from ICU: weekday names and list joining.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/calendar.h"

namespace velto {

// The stand-alone weekday name in `language` ("Tuesday", "Salı"); 1 = Sunday ... 7 = Saturday.
std::string weekdayName(Weekday weekday, std::string_view language);

// "A, B and C" in `language`.
std::string joinList(const std::vector<std::string>& items, std::string_view language);

}  // namespace velto
