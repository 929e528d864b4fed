// The bars of a period: one per day (a week, a month, a short range) or per month (a year, a
// long range), with their seconds, their time per category (the bar's stacks, most time first)
// and the time of the matching day or month of the period compared with.
// Thread: main thread.
#pragma once

#include <QAbstractListModel>
#include <QColor>
#include <QString>
#include <optional>
#include <string>
#include <vector>

#include "reports/usage_report.h"

namespace velto::gui {

class BucketsModel : public QAbstractListModel {
  Q_OBJECT
 public:
  enum Role { SecondsRole = Qt::UserRole + 1, DateRole, IntensityRole };

  struct Stack {
    QString name;
    QColor color;
    double seconds = 0;
  };

  BucketsModel(std::string language, QObject* parent = nullptr);

  // `stacks` and `previous` hold one entry per bucket, or none.
  void setBuckets(std::vector<PeriodBucket> buckets, bool months,
                  std::vector<std::vector<Stack>> stacks = {}, std::vector<double> previous = {});
  const std::vector<Stack>& stacks(int row) const;
  // The matching bucket of the period compared with; none without one.
  std::optional<double> previous(int row) const;
  // What the axis writes under a bar: "Mon 17" for a week's days, the day of the month for
  // longer runs of days, "Nov" for months.
  QString axisLabel(int row) const;
  const std::vector<PeriodBucket>& buckets() const { return buckets_; }
  double maxSeconds() const { return max_; }
  bool months() const { return months_; }
  const std::string& language() const { return language_; }
  // A sentence naming the busiest bar, or saying that nothing was recorded.
  QString description() const;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

 private:
  std::string language_;
  std::vector<PeriodBucket> buckets_;
  std::vector<std::vector<Stack>> stacks_;
  std::vector<double> previous_;
  bool months_ = false;
  double max_ = 0;
};

}  // namespace velto::gui
