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

int BarsView::barAt(QPoint at) const {
  const int count = model_.rowCount();
  if (count == 0 || width() <= 0) return -1;
  const int index = at.x() * count / width();
  return index >= 0 && index < count ? index : -1;
}

void BarsView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const int count = model_.rowCount();
  const QRect area = rect().adjusted(2, 2, -2, -18);
  painter.fillRect(area, palette().color(QPalette::AlternateBase));
  if (count == 0) return;
  const double slot = static_cast<double>(area.width()) / count;
  for (int i = 0; i < count; ++i) {
    const double share = model_.index(i).data(BucketsModel::IntensityRole).toDouble();
    const int height = static_cast<int>(share * area.height());
    const int left = area.left() + static_cast<int>(i * slot);
    const int barWidth = std::max(1, static_cast<int>(slot * 0.8));
    painter.fillRect(QRect(left, area.bottom() - height, barWidth, height),
                     palette().color(QPalette::Highlight));
  }
  painter.setPen(palette().color(QPalette::PlaceholderText));
  const QRect axis(area.left(), area.bottom() + 2, area.width(), 16);
  painter.drawText(axis, Qt::AlignLeft, model_.index(0).data().toString());
  painter.drawText(axis, Qt::AlignRight, model_.index(count - 1).data().toString());
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
  for (int row = 0; row < 7; ++row) {
    widest = std::max(
        widest, fontMetrics().horizontalAdvance(model_.headerData(row, Qt::Vertical).toString()));
  }
  return widest + 8;
}

QRect HeatmapView::cellRect(int row, int hour) const {
  const int left = labelWidth();
  const double cellWidth = static_cast<double>(width() - left - 2) / 24;
  const double cellHeight = static_cast<double>(height() - 20) / 7;
  return QRect(left + static_cast<int>(hour * cellWidth), static_cast<int>(row * cellHeight),
               std::max(1, static_cast<int>(cellWidth) - 1),
               std::max(1, static_cast<int>(cellHeight) - 1));
}

void HeatmapView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QColor empty = palette().color(QPalette::AlternateBase);
  const QColor full = palette().color(QPalette::Highlight);
  painter.setPen(palette().color(QPalette::Text));
  for (int row = 0; row < 7; ++row) {
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
    const QRect cell = cellRect(6, hour);
    painter.drawText(QRect(cell.left(), cell.bottom() + 2, cell.width() * 3, 16), Qt::AlignLeft,
                     model_.headerData(hour, Qt::Horizontal).toString());
  }
}

bool HeatmapView::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    auto* help = static_cast<QHelpEvent*>(event);
    for (int row = 0; row < 7; ++row) {
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
