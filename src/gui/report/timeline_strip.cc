#include "gui/report/timeline_strip.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QToolTip>

#include "gui/report/report_text.h"

namespace velto::gui {

namespace {

constexpr int kAxisHeight = 16;

}  // namespace

TimelineStrip::TimelineStrip(const Calendar& calendar, std::string language, QWidget* parent)
    : QWidget(parent), calendar_(calendar), language_(std::move(language)) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setAccessibleName(uiText(language_, "main.timeline.accessibleName"));
}

void TimelineStrip::setBlocks(std::vector<TimelineBlock> blocks, std::optional<DateInterval> span,
                              std::vector<QColor> colors) {
  blocks_ = std::move(blocks);
  span_ = span;
  colors_ = std::move(colors);
  if (selected_ >= static_cast<int>(blocks_.size())) selected_ = -1;
  setAccessibleDescription(describe());
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

QSize TimelineStrip::sizeHint() const {
  return {720, 72};
}

QSize TimelineStrip::minimumSizeHint() const {
  return {240, 48};
}

QRect TimelineStrip::barArea() const {
  return rect().adjusted(4, 4, -4, -kAxisHeight - 4);
}

QRect TimelineStrip::blockRect(const TimelineBlock& block) const {
  if (!span_) return {};
  const QRect area = barArea();
  const double total = secondsBetween(span_->start, span_->end);
  if (total <= 0) return {};
  const double from = secondsBetween(span_->start, block.startedAt) / total;
  const double to = secondsBetween(span_->start, block.endedAt) / total;
  const int left = area.left() + static_cast<int>(from * area.width());
  const int right = area.left() + static_cast<int>(to * area.width());
  return QRect(left, area.top(), std::max(2, right - left), area.height());
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
  painter.fillRect(area, palette().color(QPalette::AlternateBase));
  for (size_t i = 0; i < blocks_.size(); ++i) {
    const QColor color = i < colors_.size() ? colors_[i] : palette().color(QPalette::Highlight);
    QRect bar = blockRect(blocks_[i]);
    // A hairline gap keeps neighbouring blocks of one category apart.
    if (bar.width() > 3) bar.adjust(0, 0, -1, 0);
    painter.fillRect(bar, color);
  }
  if (selected_ >= 0) {
    painter.setPen(QPen(palette().color(QPalette::Text), 2));
    painter.drawRect(blockRect(blocks_[static_cast<size_t>(selected_)]).adjusted(-1, -1, 1, 1));
  }
  if (!span_) return;
  painter.setPen(palette().color(QPalette::PlaceholderText));
  const QRect axis(area.left(), area.bottom() + 2, area.width(), kAxisHeight);
  painter.drawText(axis, Qt::AlignLeft | Qt::AlignVCenter, clock(span_->start));
  painter.drawText(axis, Qt::AlignRight | Qt::AlignVCenter, clock(span_->end));
  if (hasFocus()) {
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1, Qt::DashLine));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
  }
}

bool TimelineStrip::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    auto* help = static_cast<QHelpEvent*>(event);
    if (const std::optional<size_t> at = blockAt(help->pos().x())) {
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
