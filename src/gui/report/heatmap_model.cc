#include "gui/report/heatmap_model.h"

#include "gui/report/report_text.h"
#include "summaries/locale_text.h"

namespace velto::gui {

namespace {

QString hourRange(int hour) {
  return QStringLiteral("%1:00\u2013%2:00")
      .arg(hour, 2, 10, QChar('0'))
      .arg(hour + 1, 2, 10, QChar('0'));
}

}  // namespace

HeatmapModel::HeatmapModel(std::string language, QObject* parent)
    : QAbstractTableModel(parent), language_(std::move(language)) {}

void HeatmapModel::setGrid(const Grid& secondsByWeekday, Weekday firstWeekday,
                           std::optional<Weekday> onlyDay) {
  beginResetModel();
  grid_ = secondsByWeekday;
  firstWeekday_ = firstWeekday;
  onlyDay_ = onlyDay;
  max_ = 0;
  for (const auto& day : grid_) {
    for (double seconds : day) max_ = std::max(max_, seconds);
  }
  endResetModel();
}

Weekday HeatmapModel::weekdayOfRow(int row) const {
  if (onlyDay_) return *onlyDay_;
  return (firstWeekday_ - 1 + row) % 7 + 1;
}

double HeatmapModel::seconds(int row, int hour) const {
  return grid_[static_cast<size_t>(weekdayOfRow(row) - 1)][static_cast<size_t>(hour)];
}

QString HeatmapModel::description() const {
  if (max_ <= 0) return uiText(language_, "main.heatmap.empty");
  for (int row = 0; row < rowCount(); ++row) {
    for (int hour = 0; hour < 24; ++hour) {
      if (seconds(row, hour) < max_) continue;
      return uiText(language_, "main.heatmap.description %@ %@ %@",
                    weekdayName(weekdayOfRow(row), language_), utf8(hourRange(hour)),
                    DurationText::forLanguage(language_).format(max_));
    }
  }
  return {};
}

int HeatmapModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : (onlyDay_ ? 1 : 7);
}

int HeatmapModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : 24;
}

QVariant HeatmapModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const double value = seconds(index.row(), index.column());
  switch (role) {
    case Qt::DisplayRole:
      return value > 0 ? durationText(language_, value) : QString();
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
      return QStringLiteral("%1 %2: %3")
          .arg(qs(weekdayName(weekdayOfRow(index.row()), language_)), hourRange(index.column()),
               durationText(language_, value));
    case SecondsRole:
      return value;
    case IntensityRole:
      return max_ > 0 ? value / max_ : 0.0;
  }
  return {};
}

QVariant HeatmapModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (role != Qt::DisplayRole) return {};
  if (orientation == Qt::Horizontal) return QStringLiteral("%1").arg(section, 2, 10, QChar('0'));
  return qs(weekdayName(weekdayOfRow(section), language_));
}

}  // namespace velto::gui
