// The report's small painted charts: the focus split bar, the per-day or per-month bars and the
// hour × weekday heatmap. Each takes its figures from a model or a FocusSplit, draws in the
// palette's colours (so light and dark themes both read), and carries an accessible name and a
// description that says in words what it shows.
// Thread: main thread.
#pragma once

#include <QWidget>
#include <string>
#include <utility>

#include "reports/usage_rollup.h"

namespace velto::gui {

class BucketsModel;
class HeatmapModel;

class FocusSplitBar : public QWidget {
  Q_OBJECT
 public:
  explicit FocusSplitBar(std::string language, QWidget* parent = nullptr);
  void setSplit(const FocusSplit& split);
  // "Focus 2h 10m (54%), neutral 1h (25%), distracting 50m (21%)."
  QString describe() const;
  QSize sizeHint() const override { return {480, 22}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::string language_;
  FocusSplit split_;
};

// The owner gives the bars and the heatmap their accessible names; the descriptions follow the
// model.
// Bars stacked by category colour over a y-axis in hours with gridlines, a day's or month's
// name under each, the matching day or month of the period compared with as a faint outline, and
// the values in a tooltip.
class BarsView : public QWidget {
  Q_OBJECT
 public:
  BarsView(BucketsModel& model, QWidget* parent = nullptr);
  QSize sizeHint() const override { return {560, 200}; }
  // The top of the y-axis and its step, in seconds, for the bars shown.
  std::pair<double, double> scale() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;

 private:
  QRect plotArea() const;
  QRectF barRect(int index, double seconds) const;
  int barAt(QPoint at) const;
  BucketsModel& model_;
};

class HeatmapView : public QWidget {
  Q_OBJECT
 public:
  HeatmapView(HeatmapModel& model, QWidget* parent = nullptr);
  QSize sizeHint() const override { return {640, 200}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool event(QEvent* event) override;

 private:
  QRect cellRect(int row, int hour) const;
  int labelWidth() const;
  HeatmapModel& model_;
};

}  // namespace velto::gui
