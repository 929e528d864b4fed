// The day's timeline: one bar per block on an hour axis with gridlines, each bar in its
// category's colour, a legend of the day's categories with their time under it, a tooltip with
// the application, title or site, start–end and duration under the pointer, and a context-menu
// request for the block under a right click or the Menu key. Keyboard: Left/Right move between
// blocks. The axis runs over the span it is given, rounded out to whole local hours.
// Sizes are in device-independent pixels, so high-DPI screens draw it at the same size.
// Thread: main thread.
#pragma once

#include <QColor>
#include <QString>
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
  // A category of the day in the legend.
  struct LegendEntry {
    QString name;
    QColor color;
    double seconds = 0;
  };

  TimelineStrip(const Calendar& calendar, std::string language, QWidget* parent = nullptr);

  // `colors` holds one colour per block (its category's); `legend` the day's categories, most
  // time first.
  void setBlocks(std::vector<TimelineBlock> blocks, std::optional<DateInterval> span,
                 std::vector<QColor> colors, std::vector<LegendEntry> legend = {});
  const std::vector<TimelineBlock>& blocks() const { return blocks_; }
  // The axis: the span given, from the hour it starts in to the hour it ends in.
  const std::optional<DateInterval>& axis() const { return axis_; }
  // The local times the axis marks, and their texts ("09:00").
  std::vector<Instant> hourTicks() const;
  const std::vector<LegendEntry>& legend() const { return legend_; }
  // The block drawn under x, if any.
  std::optional<size_t> blockAt(int x) const;
  // "Firefox — example.com, 09:10–09:40 (30m)".
  QString blockText(const TimelineBlock& block) const;
  // A sentence for screen readers: how many stretches, from when to when, the longest.
  QString describe() const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;
  bool hasHeightForWidth() const override { return true; }
  int heightForWidth(int width) const override;

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
  int xOf(Instant at) const;
  QString clock(Instant at) const;
  QString legendText(const LegendEntry& entry) const;
  // The legend's rows at `width`: each entry's rectangle, relative to the legend's top left.
  std::vector<QRect> legendLayout(int width, int* height) const;

  const Calendar& calendar_;
  std::string language_;
  std::vector<TimelineBlock> blocks_;
  std::vector<QColor> colors_;
  std::vector<LegendEntry> legend_;
  std::optional<DateInterval> axis_;
  int selected_ = -1;
};

}  // namespace velto::gui
