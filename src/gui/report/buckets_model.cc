#include "gui/report/buckets_model.h"

#include <QDate>
#include <QLocale>
#include <algorithm>

#include "gui/report/report_text.h"

namespace velto::gui {

BucketsModel::BucketsModel(std::string language, QObject* parent)
    : QAbstractListModel(parent), language_(std::move(language)) {}

void BucketsModel::setBuckets(std::vector<PeriodBucket> buckets, bool months,
                              std::vector<std::vector<Stack>> stacks,
                              std::vector<double> previous) {
  beginResetModel();
  buckets_ = std::move(buckets);
  stacks_ = std::move(stacks);
  previous_ = std::move(previous);
  if (stacks_.size() != buckets_.size()) stacks_.clear();
  if (previous_.size() != buckets_.size()) previous_.clear();
  months_ = months;
  max_ = 0;
  for (const PeriodBucket& bucket : buckets_) max_ = std::max(max_, bucket.seconds);
  endResetModel();
}

const std::vector<BucketsModel::Stack>& BucketsModel::stacks(int row) const {
  static const std::vector<Stack> kNone;
  if (row < 0 || static_cast<size_t>(row) >= stacks_.size()) return kNone;
  return stacks_[static_cast<size_t>(row)];
}

std::optional<double> BucketsModel::previous(int row) const {
  if (row < 0 || static_cast<size_t>(row) >= previous_.size()) return std::nullopt;
  return previous_[static_cast<size_t>(row)];
}

QString BucketsModel::axisLabel(int row) const {
  if (row < 0 || static_cast<size_t>(row) >= buckets_.size()) return {};
  const QString key = qs(buckets_[static_cast<size_t>(row)].date);
  const QLocale locale(QString::fromStdString(language_));
  if (months_) {
    const QDate month = QDate::fromString(key + QStringLiteral("-01"), Qt::ISODate);
    return month.isValid() ? locale.monthName(month.month(), QLocale::ShortFormat) : key;
  }
  const QDate day = QDate::fromString(key, Qt::ISODate);
  if (!day.isValid()) return key;
  if (buckets_.size() <= 7) {
    return locale.dayName(day.dayOfWeek(), QLocale::ShortFormat) + QLatin1Char(' ') +
           QString::number(day.day());
  }
  return QString::number(day.day());
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
    case Qt::AccessibleTextRole: {
      QString text =
          QStringLiteral("%1: %2").arg(qs(bucket.date), durationText(language_, bucket.seconds));
      if (role == Qt::AccessibleTextRole) return text;
      for (const Stack& stack : stacks(index.row())) {
        text += QStringLiteral("\n%1: %2").arg(stack.name, durationText(language_, stack.seconds));
      }
      if (const std::optional<double> before = previous(index.row())) {
        text += QLatin1Char('\n') +
                uiText(language_, "main.bars.previous %@", utf8(durationText(language_, *before)));
      }
      return text;
    }
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
