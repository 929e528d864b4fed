// The day's timeline: one coloured bar per block on a time axis, a tooltip with the
// application, label and times under the pointer, and a context-menu request for the block
// under a right click or the Menu key. Keyboard: Left/Right move between blocks.
// Thread: main thread.
#pragma once

#include <QWidget>
#include <optional>
#include <string>
#include <vector>

#include "base/calendar.h"
#include "reports/usage_rollup.h"

namespace velto::gui {

class TimelineStrip : public QWidget {
  Q_OBJECT
 public:
  TimelineStrip(const Calendar& calendar, std::string language, QWidget* parent = nullptr);

  // `colors` holds one colour per block (its category's).
  void setBlocks(std::vector<TimelineBlock> blocks, std::optional<DateInterval> span,
                 std::vector<QColor> colors);
  const std::vector<TimelineBlock>& blocks() const { return blocks_; }
  // The block drawn under x, if any.
  std::optional<size_t> blockAt(int x) const;
  // "Firefox — example.com, 09:10–09:40".
  QString blockText(const TimelineBlock& block) const;
  // A sentence for screen readers: how many stretches, from when to when, the longest.
  QString describe() const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 Q_SIGNALS:
  void blockMenuRequested(int block, QPoint globalPos);

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  QRect barArea() const;
  QRect blockRect(const TimelineBlock& block) const;
  QString clock(Instant at) const;

  const Calendar& calendar_;
  std::string language_;
  std::vector<TimelineBlock> blocks_;
  std::vector<QColor> colors_;
  std::optional<DateInterval> span_;
  int selected_ = -1;
};

}  // namespace velto::gui
