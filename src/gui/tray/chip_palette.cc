#include "gui/tray/chip_palette.h"

namespace velto::gui {

ChipColors chipColors(MenuBarChipTone tone, bool darkPanel) {
  switch (tone) {
    case MenuBarChipTone::calm:
      return darkPanel ? ChipColors{QColor(0xe8, 0xea, 0xed), QColor(0x1f, 0x23, 0x28)}
                       : ChipColors{QColor(0x2b, 0x31, 0x38), QColor(0xff, 0xff, 0xff)};
    case MenuBarChipTone::near:
      return darkPanel ? ChipColors{QColor(0xf5, 0xb7, 0x40), QColor(0x24, 0x18, 0x00)}
                       : ChipColors{QColor(0xb4, 0x5f, 0x06), QColor(0xff, 0xff, 0xff)};
    case MenuBarChipTone::over:
      return darkPanel ? ChipColors{QColor(0xff, 0x6b, 0x6b), QColor(0x2a, 0x05, 0x05)}
                       : ChipColors{QColor(0xc6, 0x28, 0x28), QColor(0xff, 0xff, 0xff)};
  }
  return {};
}

}  // namespace velto::gui
