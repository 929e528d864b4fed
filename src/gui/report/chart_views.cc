#include "gui/report/chart_views.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <cmath>

#include "gui/report/buckets_model.h"
#include "gui/report/heatmap_model.h"
#include "gui/report/report_text.h"

namespace velto::gui {

namespace {

// Focus, neutral and distracting: green, grey and orange read on both light and dark themes.
const QColor kFocusColors[] = {QColor(0x3b, 0xa5, 0x5c), QColor(0x8e, 0x8e, 0x93),
                               QColor(0xe8, 0x76, 0x2d)};

QString percent(double part, double total) {
  return QStringLiteral("%1%").arg(total > 0 ? std::llround(part / total * 100) : 0);
}

QColor scaled(const QColor& base, const QColor& full, double intensity) {
  auto mix = [&](int a, int b) { return static_cast<int>(a + (b - a) * intensity); };
  return QColor(mix(base.red(), full.red()), mix(base.green(), full.green()),
                mix(base.blue(), full.blue()));
}

}  // namespace

FocusSplitBar::FocusSplitBar(std::string language, QWidget* parent)
    : QWidget(parent), language_(std::move(language)) {
  setAccessibleName(uiText(language_, "main.overview.focusSplit.accessibleName"));
  setMinimumHeight(16);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void FocusSplitBar::setSplit(const FocusSplit& split) {
  split_ = split;
  setAccessibleDescription(describe());
  setToolTip(describe());
  update();
}

QString FocusSplitBar::describe() const {
  const double total = split_.total();
  if (total <= 0) return uiText(language_, "main.overview.focusSplit.empty");
  auto part = [&](double seconds) {
    return utf8(durationText(language_, seconds)) + " (" + utf8(percent(seconds, total)) + ")";
  };
  return uiText(language_, "main.overview.focusSplit.description %@ %@ %@", part(split_.focus),
                part(split_.neutral), part(split_.distracting));
}

void FocusSplitBar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRect area = rect().adjusted(0, 2, 0, -2);
  const double total = split_.total();
  if (total <= 0) {
    painter.fillRect(area, palette().color(QPalette::AlternateBase));
    return;
  }
  const double parts[] = {split_.focus, split_.neutral, split_.distracting};
  double done = 0;
  for (int i = 0; i < 3; ++i) {
    const int left = area.left() + static_cast<int>(done / total * area.width());
    done += parts[i];
    const int right = area.left() + static_cast<int>(done / total * area.width());
    painter.fillRect(QRect(left, area.top(), right - left, area.height()), kFocusColors[i]);
  }
}

BarsView::BarsView(BucketsModel& model, QWidget* parent) : QWidget(parent), model_(model) {
  setMouseTracking(true);
  auto refresh = [this] {
    setAccessibleDescription(model_.description());
    update();
  };
  connect(&model_, &QAbstractItemModel::modelReset, this, refresh);
  refresh();
}

std::pair<double, double> BarsView::scale() const {
  double most = model_.maxSeconds();
  for (int i = 0; i < model_.rowCount(); ++i) most = std::max(most, model_.previous(i).value_or(0));
  static constexpr double kSteps[] = {900,    1800,   3600,  7200,  10800,  14400,
                                      21600,  28800,  36000, 72000, 108000, 180000,
                                      360000, 720000, 1.8e6, 3.6e6, 7.2e6};
  double step = kSteps[std::size(kSteps) - 1];
  for (double candidate : kSteps) {
    if (most / candidate <= 4) {
      step = candidate;
      break;
    }
  }
  return {std::max(step, std::ceil(most / step) * step), step};
}

QRect BarsView::plotArea() const {
  const int axisWidth =
      fontMetrics().horizontalAdvance(durationText(model_.language(), scale().first)) + 8;
  return rect().adjusted(axisWidth, 6, -4, -fontMetrics().height() - 6);
}

QRectF BarsView::barRect(int index, double seconds) const {
  const QRect area = plotArea();
  const int count = std::max(1, model_.rowCount());
  const double slot = static_cast<double>(area.width()) / count;
  const double width = std::max(2.0, slot * 0.62);
  const double height = seconds / scale().first * area.height();
  return QRectF(area.left() + slot * index + (slot - width) / 2, area.bottom() + 1 - height, width,
                height);
}

int BarsView::barAt(QPoint at) const {
  const int count = model_.rowCount();
  const QRect area = plotArea();
  if (count == 0 || area.width() <= 0 || at.x() < area.left()) return -1;
  const int index = (at.x() - area.left()) * count / area.width();
  return index >= 0 && index < count ? index : -1;
}

void BarsView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const int count = model_.rowCount();
  const QRect area = plotArea();
  const QColor muted = palette().color(QPalette::PlaceholderText);
  if (count == 0 || model_.maxSeconds() <= 0) {
    painter.fillRect(area, palette().color(QPalette::AlternateBase));
    painter.setPen(muted);
    painter.drawText(area, Qt::AlignCenter, model_.description());
    return;
  }
  // The y-axis: a gridline and its hours at every step.
  const auto [top, step] = scale();
  QColor grid = palette().color(QPalette::Text);
  grid.setAlpha(36);
  for (double value = 0; value <= top + 1; value += step) {
    const int y = area.bottom() - static_cast<int>(value / top * area.height());
    painter.setPen(QPen(grid, 1));
    painter.drawLine(QPointF(area.left(), y + 0.5), QPointF(area.right(), y + 0.5));
    painter.setPen(muted);
    const QString text = value > 0 ? durationText(model_.language(), value) : QStringLiteral("0");
    painter.drawText(QRect(0, y - 10, area.left() - 6, 20), Qt::AlignRight | Qt::AlignVCenter,
                     text);
  }

  const QColor single = palette().color(QPalette::Highlight);
  for (int i = 0; i < count; ++i) {
    const double seconds = model_.index(i).data(BucketsModel::SecondsRole).toDouble();
    const std::vector<BucketsModel::Stack>& stacks = model_.stacks(i);
    if (stacks.empty()) {
      painter.fillRect(barRect(i, seconds), single);
    } else {
      double below = 0;
      for (const BucketsModel::Stack& stack : stacks) {
        const QRectF whole = barRect(i, below + stack.seconds);
        const QRectF under = barRect(i, below);
        painter.fillRect(
            QRectF(whole.left(), whole.top(), whole.width(), whole.height() - under.height()),
            stack.color);
        below += stack.seconds;
      }
    }
    if (const std::optional<double> before = model_.previous(i); before && *before > 0) {
      QColor outline = palette().color(QPalette::Text);
      outline.setAlpha(120);
      painter.setPen(QPen(outline, 1, Qt::DashLine));
      painter.setBrush(Qt::NoBrush);
      painter.drawRect(barRect(i, *before).adjusted(-2, 0, 2, 0));
    }
  }

  // A name under every bar when they fit, else under every n-th.
  painter.setPen(muted);
  const double slot = static_cast<double>(area.width()) / count;
  int widest = 0;
  for (int i = 0; i < count; ++i) {
    widest = std::max(widest, fontMetrics().horizontalAdvance(model_.axisLabel(i)));
  }
  const int stride = std::max(1, static_cast<int>(std::ceil((widest + 8) / slot)));
  for (int i = 0; i < count; i += stride) {
    const QRectF place(area.left() + slot * i - slot * (stride - 1) / 2.0, area.bottom() + 4,
                       slot * stride, fontMetrics().height());
    painter.drawText(place, Qt::AlignHCenter | Qt::AlignTop, model_.axisLabel(i));
  }
}

bool BarsView::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    auto* help = static_cast<QHelpEvent*>(event);
    const int bar = barAt(help->pos());
    if (bar >= 0) {
      QToolTip::showText(help->globalPos(), model_.index(bar).data(Qt::ToolTipRole).toString(),
                         this);
    } else {
      QToolTip::hideText();
    }
    return true;
  }
  return QWidget::event(event);
}

HeatmapView::HeatmapView(HeatmapModel& model, QWidget* parent) : QWidget(parent), model_(model) {
  setMouseTracking(true);
  auto refresh = [this] {
    setAccessibleDescription(model_.description());
    update();
  };
  connect(&model_, &QAbstractItemModel::modelReset, this, refresh);
  refresh();
}

int HeatmapView::labelWidth() const {
  int widest = 0;
  for (int row = 0; row < model_.rowCount(); ++row) {
    widest = std::max(
        widest, fontMetrics().horizontalAdvance(model_.headerData(row, Qt::Vertical).toString()));
  }
  return widest + 8;
}

QRect HeatmapView::cellRect(int row, int hour) const {
  constexpr double kTallest = 40;  // a cell stays a cell, not a band, with few rows
  const int left = labelWidth();
  const int rows = std::max(1, model_.rowCount());
  const double cellWidth = static_cast<double>(width() - left - 2) / 24;
  const double cellHeight = std::min(kTallest, static_cast<double>(height() - 24) / rows);
  return QRect(left + static_cast<int>(hour * cellWidth), 4 + static_cast<int>(row * cellHeight),
               std::max(1, static_cast<int>(cellWidth) - 1),
               std::max(1, static_cast<int>(cellHeight) - 1));
}

void HeatmapView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QColor empty = palette().color(QPalette::AlternateBase);
  const QColor full = palette().color(QPalette::Highlight);
  painter.setPen(palette().color(QPalette::Text));
  const int rows = model_.rowCount();
  for (int row = 0; row < rows; ++row) {
    const QRect first = cellRect(row, 0);
    painter.drawText(QRect(0, first.top(), labelWidth() - 4, first.height()),
                     Qt::AlignRight | Qt::AlignVCenter,
                     model_.headerData(row, Qt::Vertical).toString());
    for (int hour = 0; hour < 24; ++hour) {
      const double intensity = model_.index(row, hour).data(HeatmapModel::IntensityRole).toDouble();
      painter.fillRect(cellRect(row, hour), scaled(empty, full, intensity));
    }
  }
  painter.setPen(palette().color(QPalette::PlaceholderText));
  for (int hour = 0; hour < 24; hour += 3) {
    const QRect cell = cellRect(rows - 1, hour);
    painter.drawText(QRect(cell.left(), cell.bottom() + 2, cell.width() * 3, 16), Qt::AlignLeft,
                     model_.headerData(hour, Qt::Horizontal).toString());
  }
}

bool HeatmapView::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    auto* help = static_cast<QHelpEvent*>(event);
    for (int row = 0; row < model_.rowCount(); ++row) {
      for (int hour = 0; hour < 24; ++hour) {
        if (!cellRect(row, hour).contains(help->pos())) continue;
        QToolTip::showText(help->globalPos(),
                           model_.index(row, hour).data(Qt::ToolTipRole).toString(), this);
        return true;
      }
    }
    QToolTip::hideText();
    return true;
  }
  return QWidget::event(event);
}

}  // namespace velto::gui
