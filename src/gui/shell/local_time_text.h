// "HH:MM" of an instant on the wall clock of a calendar's zone (24-hour, as the catalogs expect).
#pragma once

#include <string>

#include "base/calendar.h"

namespace velto::gui {

std::string localTimeText(const Calendar& calendar, Instant at);

}  // namespace velto::gui
