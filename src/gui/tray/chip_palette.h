// The colours of the tray chip per tone, for light and dark panels: a filled rounded chip with
// text that keeps at least 4.5:1 contrast against its fill.
#pragma once

#include <QColor>

#include "surfaces/menu_bar_title.h"

namespace velto::gui {

struct ChipColors {
  QColor fill;
  QColor text;
};

ChipColors chipColors(MenuBarChipTone tone, bool darkPanel);

}  // namespace velto::gui
