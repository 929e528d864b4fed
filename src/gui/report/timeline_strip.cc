#include "gui/report/timeline_strip.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <algorithm>
#include <chrono>

#include "gui/report/report_text.h"

namespace velto::gui {

namespace {

constexpr int kMargin = 4;
constexpr int kBarHeight = 44;
constexpr int kAxisHeight = 20;
constexpr int kLegendGap = 10;
constexpr int kSwatch = 10;
constexpr int kLegendSpacing = 18;
constexpr int kLeastTickSpacing = 52;  // pixels between two hour labels

// The start of the local hour holding `at`.
Instant hourFloor(const Calendar& calendar, Instant at) {
  return calendar.atTimeOfDay(calendar.startOfDay(at), calendar.local(at).hour);
}

// The first local hour boundary at or after `at`.
Instant hourCeiling(const Calendar& calendar, Instant at) {
  const Instant floor = hourFloor(calendar, at);
  if (floor >= at) return floor;
  const Instant next = floor + std::chrono::hours(1);
  // The hour after 23:00 is the next midnight, wherever that falls.
  return std::min(next, calendar.nextMidnight(at));
}

}  // namespace

TimelineStrip::TimelineStrip(const Calendar& calendar, std::string language, QWidget* parent)
    : QWidget(parent), calendar_(calendar), language_(std::move(language)) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setAccessibleName(uiText(language_, "main.timeline.accessibleName"));
  QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
}

void TimelineStrip::setBlocks(std::vector<TimelineBlock> blocks, std::optional<DateInterval> span,
                              std::vector<QColor> colors, std::vector<LegendEntry> legend) {
  blocks_ = std::move(blocks);
  axis_.reset();
  if (span && span->start < span->end) {
    axis_ = DateInterval{hourFloor(calendar_, span->start), hourCeiling(calendar_, span->end)};
  }
  colors_ = std::move(colors);
  legend_ = std::move(legend);
  if (selected_ >= static_cast<int>(blocks_.size())) selected_ = -1;
  setAccessibleDescription(describe());
  updateGeometry();
  update();
}

QString TimelineStrip::clock(Instant at) const {
  const LocalDateTime local = calendar_.local(at);
  return QStringLiteral("%1:%2")
      .arg(local.hour, 2, 10, QChar('0'))
      .arg(local.minute, 2, 10, QChar('0'));
}

QString TimelineStrip::blockText(const TimelineBlock& block) const {
  QString text = qs(block.appName);
  if (!block.label.empty()) text += QStringLiteral(" \u2014 ") + qs(block.label);
  return text + QStringLiteral(", %1\u2013%2 (%3)")
                    .arg(clock(block.startedAt), clock(block.endedAt),
                         durationText(language_, secondsBetween(block.startedAt, block.endedAt)));
}

QString TimelineStrip::describe() const {
  if (blocks_.empty()) return uiText(language_, "main.timeline.empty");
  const TimelineBlock* longest = &blocks_.front();
  for (const TimelineBlock& block : blocks_) {
    if (block.endedAt - block.startedAt > longest->endedAt - longest->startedAt) longest = &block;
  }
  return uiText(language_, "main.timeline.description %@ %@ %@ %@", std::to_string(blocks_.size()),
                utf8(clock(blocks_.front().startedAt)), utf8(clock(blocks_.back().endedAt)),
                utf8(blockText(*longest)));
}

QString TimelineStrip::legendText(const LegendEntry& entry) const {
  return entry.name + QStringLiteral("  ") + durationText(language_, entry.seconds);
}

std::vector<QRect> TimelineStrip::legendLayout(int width, int* height) const {
  std::vector<QRect> places;
  const QFontMetrics metrics = fontMetrics();
  const int rowHeight = std::max(metrics.height(), kSwatch) + 4;
  int x = 0;
  int y = 0;
  const int usable = std::max(1, width - 2 * kMargin);
  for (const LegendEntry& entry : legend_) {
    const int wide = kSwatch + 6 + metrics.horizontalAdvance(legendText(entry));
    if (x > 0 && x + wide > usable) {
      x = 0;
      y += rowHeight;
    }
    places.emplace_back(x, y, wide, rowHeight);
    x += wide + kLegendSpacing;
  }
  if (height) *height = legend_.empty() ? 0 : y + rowHeight;
  return places;
}

int TimelineStrip::heightForWidth(int width) const {
  int legend = 0;
  legendLayout(width, &legend);
  return kMargin + kBarHeight + kAxisHeight + (legend > 0 ? kLegendGap + legend : 0) + kMargin;
}

QSize TimelineStrip::sizeHint() const {
  return {720, heightForWidth(720)};
}

QSize TimelineStrip::minimumSizeHint() const {
  return {240, kMargin + kBarHeight + kAxisHeight + kMargin};
}

QRect TimelineStrip::barArea() const {
  return QRect(kMargin, kMargin, std::max(1, width() - 2 * kMargin), kBarHeight);
}

int TimelineStrip::xOf(Instant at) const {
  const QRect area = barArea();
  const double total = axis_ ? secondsBetween(axis_->start, axis_->end) : 0;
  if (total <= 0) return area.left();
  const double share = secondsBetween(axis_->start, at) / total;
  return area.left() + static_cast<int>(std::clamp(share, 0.0, 1.0) * area.width());
}

QRect TimelineStrip::blockRect(const TimelineBlock& block) const {
  if (!axis_) return {};
  const QRect area = barArea();
  const int left = xOf(block.startedAt);
  const int right = xOf(block.endedAt);
  return QRect(left, area.top(), std::max(2, right - left), area.height());
}

std::vector<Instant> TimelineStrip::hourTicks() const {
  std::vector<Instant> ticks;
  if (!axis_) return ticks;
  const double hours = secondsBetween(axis_->start, axis_->end) / 3600.0;
  const double perHour = barArea().width() / std::max(1.0, hours);
  int step = 1;
  for (int candidate : {1, 2, 3, 4, 6, 12}) {
    step = candidate;
    if (perHour * candidate >= kLeastTickSpacing) break;
  }
  for (Instant at = axis_->start; at <= axis_->end; at += std::chrono::hours(1)) {
    const Instant hour = hourFloor(calendar_, at);
    if (calendar_.local(hour).hour % step == 0 && (ticks.empty() || ticks.back() != hour)) {
      ticks.push_back(hour);
    }
  }
  return ticks;
}

std::optional<size_t> TimelineStrip::blockAt(int x) const {
  // Short blocks are at least two pixels wide; the later block wins where they overlap.
  for (size_t i = blocks_.size(); i-- > 0;) {
    const QRect r = blockRect(blocks_[i]);
    if (x >= r.left() && x <= r.right()) return i;
  }
  return std::nullopt;
}

void TimelineStrip::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRect area = barArea();
  QPainterPath track;
  track.addRoundedRect(QRectF(area), 4, 4);
  painter.fillPath(track, palette().color(QPalette::AlternateBase));

  const QColor muted = palette().color(QPalette::PlaceholderText);
  if (blocks_.empty() || !axis_) {
    painter.setPen(muted);
    painter.drawText(area, Qt::AlignCenter, uiText(language_, "main.timeline.empty"));
    return;
  }

  // Hour gridlines behind the bars, with their labels under the track.
  QColor grid = palette().color(QPalette::Text);
  grid.setAlpha(40);
  const QRect axisRow(area.left(), area.bottom() + 3, area.width(), kAxisHeight - 3);
  const QFontMetrics metrics = fontMetrics();
  for (Instant tick : hourTicks()) {
    const int x = xOf(tick);
    painter.setPen(QPen(grid, 1));
    painter.drawLine(QPointF(x + 0.5, area.top()), QPointF(x + 0.5, area.bottom() + 3));
    const QString text = clock(tick);
    const int wide = metrics.horizontalAdvance(text);
    const int left = std::clamp(x - wide / 2, axisRow.left(), axisRow.right() - wide);
    painter.setPen(muted);
    painter.drawText(QRect(left, axisRow.top(), wide + 1, axisRow.height()),
                     Qt::AlignLeft | Qt::AlignVCenter, text);
  }

  for (size_t i = 0; i < blocks_.size(); ++i) {
    const QColor color = i < colors_.size() ? colors_[i] : palette().color(QPalette::Highlight);
    QRectF bar = blockRect(blocks_[i]);
    // A hairline gap keeps neighbouring blocks of one category apart.
    if (bar.width() > 3) bar.adjust(0, 0, -1, 0);
    QPainterPath shape;
    shape.addRoundedRect(bar, std::min(3.0, bar.width() / 2), 3);
    painter.fillPath(shape, color);
  }
  if (selected_ >= 0) {
    painter.setPen(QPen(palette().color(QPalette::Text), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(
        QRectF(blockRect(blocks_[static_cast<size_t>(selected_)])).adjusted(-1, -1, 1, 1), 3, 3);
  }

  // The legend: a swatch and the category's time, row after row.
  const QPoint origin(area.left(), area.bottom() + kAxisHeight + kLegendGap);
  const std::vector<QRect> places = legendLayout(width(), nullptr);
  for (size_t i = 0; i < legend_.size() && i < places.size(); ++i) {
    const QRect place = places[i].translated(origin);
    const QRectF swatch(place.left(), place.center().y() - kSwatch / 2.0, kSwatch, kSwatch);
    painter.setPen(Qt::NoPen);
    painter.setBrush(legend_[i].color);
    painter.drawRoundedRect(swatch, 2, 2);
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(place.adjusted(kSwatch + 6, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                     legendText(legend_[i]));
  }

  if (hasFocus()) {
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1, Qt::DashLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
  }
}

bool TimelineStrip::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    auto* help = static_cast<QHelpEvent*>(event);
    const std::optional<size_t> at = blockAt(help->pos().x());
    if (at && barArea().adjusted(0, -2, 0, 2).contains(help->pos())) {
      QToolTip::showText(help->globalPos(), blockText(blocks_[*at]), this);
    } else {
      QToolTip::hideText();
      event->ignore();
    }
    return true;
  }
  return QWidget::event(event);
}

void TimelineStrip::mousePressEvent(QMouseEvent* event) {
  if (const std::optional<size_t> at = blockAt(event->position().toPoint().x())) {
    selected_ = static_cast<int>(*at);
    update();
  }
  QWidget::mousePressEvent(event);
}

void TimelineStrip::contextMenuEvent(QContextMenuEvent* event) {
  std::optional<size_t> at;
  QPoint where = event->globalPos();
  if (event->reason() == QContextMenuEvent::Keyboard && selected_ >= 0) {
    at = static_cast<size_t>(selected_);
    where = mapToGlobal(blockRect(blocks_[*at]).center());
  } else {
    at = blockAt(event->pos().x());
  }
  if (!at) return;
  selected_ = static_cast<int>(*at);
  update();
  Q_EMIT blockMenuRequested(static_cast<int>(*at), where);
}

void TimelineStrip::keyPressEvent(QKeyEvent* event) {
  if (blocks_.empty()) return QWidget::keyPressEvent(event);
  const int last = static_cast<int>(blocks_.size()) - 1;
  if (event->key() == Qt::Key_Left) {
    selected_ = selected_ <= 0 ? 0 : selected_ - 1;
  } else if (event->key() == Qt::Key_Right) {
    selected_ = selected_ < 0 ? 0 : std::min(last, selected_ + 1);
  } else {
    return QWidget::keyPressEvent(event);
  }
  const TimelineBlock& block = blocks_[static_cast<size_t>(selected_)];
  QToolTip::showText(mapToGlobal(blockRect(block).bottomLeft()), blockText(block), this);
  update();
}

}  // namespace velto::gui
