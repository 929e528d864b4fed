// Light and dark appearance from "velto.theme": "light" and "dark" set a matching palette on the
// Fusion style; "auto" keeps the session's style and palette.
// Thread: GUI thread; a QApplication must exist.
#pragma once

#include <string_view>

namespace velto::gui {

void applyTheme(std::string_view theme);

}  // namespace velto::gui
