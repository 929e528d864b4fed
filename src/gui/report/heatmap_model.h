// Hour × weekday heatmap of a period: seven rows of weekdays starting at the calendar's first
// weekday (one row, that day's, for a single day), 24 columns of local clock hours, each cell the
// seconds recorded there.
// Thread: main thread.
#pragma once

#include <QAbstractTableModel>
#include <array>
#include <optional>
#include <string>

#include "base/calendar.h"

namespace velto::gui {

class HeatmapModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Role { SecondsRole = Qt::UserRole + 1, IntensityRole };
  using Grid = std::array<std::array<double, 24>, 7>;  // [weekday 1=Sunday - 1][hour]

  HeatmapModel(std::string language, QObject* parent = nullptr);

  // `onlyDay`: the weekday of a single day shown; its row is the only one.
  void setGrid(const Grid& secondsByWeekday, Weekday firstWeekday,
               std::optional<Weekday> onlyDay = std::nullopt);
  // The weekday (1 = Sunday) shown in `row`.
  Weekday weekdayOfRow(int row) const;
  double seconds(int row, int hour) const;
  double maxSeconds() const { return max_; }
  // A sentence naming the busiest weekday and hour, or saying that nothing was recorded.
  QString description() const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation,
                      int role = Qt::DisplayRole) const override;

 private:
  std::string language_;
  Grid grid_{};
  Weekday firstWeekday_ = 2;
  std::optional<Weekday> onlyDay_;
  double max_ = 0;
};

}  // namespace velto::gui
