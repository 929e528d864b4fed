// Draws the tray picture: the mark alone, or the chip text on a rounded chip in its tone's
// colours. Tray hosts give an icon a square slot, so the picture is square: the text is set in
// bold and broken at its space into two lines when one line would have to shrink below
// readability ("2h" over "15m"), so it stays legible at 22-32 px. A limit's chip shows the time
// left (or past it) over a bar of the share used instead of its whole text.
// Thread: GUI thread.
#pragma once

#include <QIcon>
#include <QImage>
#include <QStringList>
#include <optional>

#include "surfaces/menu_bar_title.h"

namespace velto::gui {

// The lines the chip text is set in at `side` pixels: one line when it fits at a readable size,
// else broken at the first space (the rest elided if still too wide).
QStringList chipLines(const QString& text, int side);
// One square picture of `side` pixels.
QImage chipImage(const std::optional<MenuBarChip>& chip, bool darkPanel, int side);
// The tray icon at the usual tray sizes.
QIcon chipIcon(const std::optional<MenuBarChip>& chip, bool darkPanel);

}  // namespace velto::gui
