#include "gui/tray/chip_icon.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

#include "gui/tray/chip_palette.h"

namespace velto::gui {

namespace {

constexpr double kPadding = 0.08;  // of the side, each edge inside the chip

// The mark: a ring with a clock's hands, in the panel's foreground.
void drawMark(QPainter& painter, double side, const QColor& color) {
  QPen pen(color, std::max(1.5, side / 9));
  pen.setCapStyle(Qt::RoundCap);
  painter.setPen(pen);
  painter.setBrush(Qt::NoBrush);
  const QRectF square(0, 0, side, side);
  painter.drawEllipse(square.adjusted(side * 0.12, side * 0.12, -side * 0.12, -side * 0.12));
  painter.drawLine(square.center(), QPointF(square.center().x(), side * 0.3));
  painter.drawLine(square.center(), QPointF(side - side * 0.32, square.center().y()));
}

QFont boldFont(double pixels) {
  QFont font;
  font.setBold(true);
  font.setPixelSize(std::max(6, static_cast<int>(pixels)));
  return font;
}

// The largest pixel size at which every line fits `width` and all lines fit `height`.
int fittingSize(const QStringList& lines, double width, double height) {
  int size = static_cast<int>(height / lines.size());
  while (size > 6) {
    const QFontMetricsF metrics(boldFont(size));
    bool fits = metrics.height() * lines.size() <= height * 1.15;
    for (const QString& line : lines) fits = fits && metrics.horizontalAdvance(line) <= width;
    if (fits) break;
    --size;
  }
  return size;
}

}  // namespace

QStringList chipLines(const QString& text, int side) {
  const double inner = side * (1 - 2 * kPadding);
  const int space = text.indexOf(QLatin1Char(' '));
  if (space < 0) return {text};
  const int oneLine = fittingSize({text}, inner, inner);
  const QStringList twoLines = {text.left(space), text.mid(space + 1)};
  const int split = fittingSize(twoLines, inner, inner);
  return oneLine >= split ? QStringList{text} : twoLines;
}

QImage chipImage(const std::optional<MenuBarChip>& chip, bool darkPanel, int side) {
  QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::TextAntialiasing);
  if (!chip || chip->text.empty()) {
    drawMark(painter, side, darkPanel ? QColor(0xf2, 0xf3, 0xf5) : QColor(0x20, 0x24, 0x29));
    return image;
  }
  const ChipColors colors = chipColors(chip->tone, darkPanel);
  const QRectF box(0.5, 0.5, side - 1.0, side - 1.0);
  QPainterPath path;
  path.addRoundedRect(box, side * 0.22, side * 0.22);
  painter.fillPath(path, colors.fill);

  const double inner = side * (1 - 2 * kPadding);
  if (chip->used) {
    // A limit: the time left as large as the chip allows over a bar of the share used, since
    // "1h 10m / 2h" cannot be read in a square this small.
    const double barHeight = std::max(2.0, side / 9.0);
    const double barTop = side - side * kPadding - barHeight;
    const QRectF track(side * kPadding, barTop, inner, barHeight);
    QColor faint = colors.text;
    faint.setAlphaF(0.35);
    painter.setPen(Qt::NoPen);
    painter.setBrush(faint);
    painter.drawRoundedRect(track, barHeight / 2, barHeight / 2);
    const double share = std::clamp(*chip->used, 0.0, 1.0);
    if (share > 0) {
      painter.setBrush(colors.text);
      painter.drawRoundedRect(
          QRectF(track.left(), barTop, std::max(barHeight, inner * share), barHeight),
          barHeight / 2, barHeight / 2);
    }
    const QString left = QString::fromStdString(chip->left);
    const double textHeight = barTop - side * kPadding;
    const QFont font = boldFont(fittingSize({left}, inner, textHeight));
    painter.setFont(font);
    painter.setPen(colors.text);
    painter.drawText(QRectF(side * kPadding, side * kPadding, inner, textHeight), Qt::AlignCenter,
                     left);
    return image;
  }
  const QString text = QString::fromStdString(chip->text);
  const QStringList lines = chipLines(text, side);
  const QFont font = boldFont(fittingSize(lines, inner, inner));
  const QFontMetricsF metrics(font);
  painter.setFont(font);
  painter.setPen(colors.text);
  const double lineHeight = std::min(metrics.height(), inner / lines.size());
  double top = (side - lineHeight * lines.size()) / 2;
  for (const QString& line : lines) {
    painter.drawText(QRectF(side * kPadding, top, inner, lineHeight), Qt::AlignCenter,
                     metrics.elidedText(line, Qt::ElideRight, inner));
    top += lineHeight;
  }
  return image;
}

QIcon chipIcon(const std::optional<MenuBarChip>& chip, bool darkPanel) {
  QIcon icon;
  for (int side : {22, 24, 32, 48, 64}) {
    icon.addPixmap(QPixmap::fromImage(chipImage(chip, darkPanel, side)));
  }
  return icon;
}

}  // namespace velto::gui
