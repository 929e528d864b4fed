#include "gui/report/buckets_model.h"

#include <algorithm>

#include "gui/report/report_text.h"

namespace velto::gui {

BucketsModel::BucketsModel(std::string language, QObject* parent)
    : QAbstractListModel(parent), language_(std::move(language)) {}

void BucketsModel::setBuckets(std::vector<PeriodBucket> buckets, bool months) {
  beginResetModel();
  buckets_ = std::move(buckets);
  months_ = months;
  max_ = 0;
  for (const PeriodBucket& bucket : buckets_) max_ = std::max(max_, bucket.seconds);
  endResetModel();
}

QString BucketsModel::description() const {
  if (max_ <= 0) return uiText(language_, "main.bars.empty");
  // The first of equal bars: the earliest busiest day or month.
  const auto busiest = std::find_if(buckets_.begin(), buckets_.end(),
                                    [&](const PeriodBucket& b) { return b.seconds >= max_; });
  return uiText(
      language_,
      months_ ? "main.bars.description.month %@ %@ %@" : "main.bars.description.day %@ %@ %@",
      std::to_string(buckets_.size()), busiest->date,
      DurationText::forLanguage(language_).format(max_));
}

int BucketsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(buckets_.size());
}

QVariant BucketsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || static_cast<size_t>(index.row()) >= buckets_.size()) return {};
  const PeriodBucket& bucket = buckets_[static_cast<size_t>(index.row())];
  switch (role) {
    case Qt::DisplayRole:
      return qs(bucket.date);
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
      return QStringLiteral("%1: %2").arg(qs(bucket.date), durationText(language_, bucket.seconds));
    case SecondsRole:
      return bucket.seconds;
    case DateRole:
      return qs(bucket.date);
    case IntensityRole:
      return max_ > 0 ? bucket.seconds / max_ : 0.0;
  }
  return {};
}

}  // namespace velto::gui
