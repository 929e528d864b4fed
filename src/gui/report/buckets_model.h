// The bars of a period: one per day (a week, a month, a short range) or per month (a year, a
// long range), with their seconds.
// Thread: main thread.
#pragma once

#include <QAbstractListModel>
#include <string>
#include <vector>

#include "reports/usage_report.h"

namespace velto::gui {

class BucketsModel : public QAbstractListModel {
  Q_OBJECT
 public:
  enum Role { SecondsRole = Qt::UserRole + 1, DateRole, IntensityRole };

  BucketsModel(std::string language, QObject* parent = nullptr);

  void setBuckets(std::vector<PeriodBucket> buckets, bool months);
  const std::vector<PeriodBucket>& buckets() const { return buckets_; }
  double maxSeconds() const { return max_; }
  bool months() const { return months_; }
  // A sentence naming the busiest bar, or saying that nothing was recorded.
  QString description() const;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

 private:
  std::string language_;
  std::vector<PeriodBucket> buckets_;
  bool months_ = false;
  double max_ = 0;
};

}  // namespace velto::gui
