#include "gui/shell/local_time_text.h"

#include <cstdio>

namespace velto::gui {

std::string localTimeText(const Calendar& calendar, Instant at) {
  const LocalDateTime local = calendar.local(at);
  char text[8];
  std::snprintf(text, sizeof text, "%02d:%02d", local.hour % 100, local.minute % 100);
  return text;
}

}  // namespace velto::gui
