#include "gui/report/period_picker.h"

#include <QComboBox>
#include <QDateEdit>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

#include "gui/report/report_text.h"

namespace velto::gui {

namespace {

// The entries of the mode box, in order.
struct ModeEntry {
  const char* key;
  ReportPeriodNavigator::Mode mode;
  std::optional<RangePreset> preset;
};

const ModeEntry kModes[] = {
    {"main.period.day", ReportPeriodNavigator::Mode::day, std::nullopt},
    {"main.period.week", ReportPeriodNavigator::Mode::week, std::nullopt},
    {"main.period.month", ReportPeriodNavigator::Mode::month, std::nullopt},
    {"main.period.year", ReportPeriodNavigator::Mode::year, std::nullopt},
    {"main.period.last7", ReportPeriodNavigator::Mode::preset, RangePreset::last7},
    {"main.period.last30", ReportPeriodNavigator::Mode::preset, RangePreset::last30},
    {"main.period.last90", ReportPeriodNavigator::Mode::preset, RangePreset::last90},
    {"main.period.last12Months", ReportPeriodNavigator::Mode::preset, RangePreset::last12Months},
    {"main.period.custom", ReportPeriodNavigator::Mode::custom, std::nullopt},
};

PeriodKind kindOf(ReportPeriodNavigator::Mode mode) {
  switch (mode) {
    case ReportPeriodNavigator::Mode::week:
      return PeriodKind::week;
    case ReportPeriodNavigator::Mode::month:
      return PeriodKind::month;
    case ReportPeriodNavigator::Mode::year:
      return PeriodKind::year;
    default:
      return PeriodKind::day;
  }
}

}  // namespace

PeriodPicker::PeriodPicker(ReportPeriodNavigator& navigator, const Calendar& calendar,
                           const Clock& clock, std::string language, QWidget* parent)
    : QWidget(parent),
      navigator_(navigator),
      calendar_(calendar),
      clock_(clock),
      language_(std::move(language)) {
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  mode_ = new QComboBox(this);
  mode_->setAccessibleName(uiText(language_, "main.period.accessibleName"));
  for (const ModeEntry& entry : kModes) mode_->addItem(uiText(language_, entry.key));
  layout->addWidget(mode_);

  previous_ = new QToolButton(this);
  previous_->setArrowType(Qt::LeftArrow);
  previous_->setAccessibleName(uiText(language_, "main.period.previous"));
  previous_->setToolTip(uiText(language_, "main.period.previous"));
  previous_->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Left));
  layout->addWidget(previous_);
  label_ = new QLabel(this);
  label_->setMinimumWidth(160);
  label_->setAlignment(Qt::AlignCenter);
  layout->addWidget(label_);
  next_ = new QToolButton(this);
  next_->setArrowType(Qt::RightArrow);
  next_->setAccessibleName(uiText(language_, "main.period.next"));
  next_->setToolTip(uiText(language_, "main.period.next"));
  next_->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Right));
  layout->addWidget(next_);
  today_ = new QPushButton(uiText(language_, "main.period.today"), this);
  today_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_T));
  layout->addWidget(today_);

  from_ = new QDateEdit(this);
  from_->setCalendarPopup(true);
  from_->setAccessibleName(uiText(language_, "main.period.from"));
  to_ = new QDateEdit(this);
  to_->setCalendarPopup(true);
  to_->setAccessibleName(uiText(language_, "main.period.to"));
  from_->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
  to_->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
  layout->addWidget(from_);
  layout->addWidget(to_);
  layout->addStretch();

  connect(mode_, &QComboBox::currentIndexChanged, this, &PeriodPicker::chooseMode);
  connect(previous_, &QToolButton::clicked, this, [this] {
    navigator_.previous(clock_.now());
    Q_EMIT periodChanged();
  });
  connect(next_, &QToolButton::clicked, this, [this] {
    navigator_.next(clock_.now());
    Q_EMIT periodChanged();
  });
  connect(today_, &QPushButton::clicked, this, [this] {
    navigator_.today(clock_.now());
    Q_EMIT periodChanged();
  });
  connect(from_, &QDateEdit::dateChanged, this, &PeriodPicker::dateEdited);
  connect(to_, &QDateEdit::dateChanged, this, &PeriodPicker::dateEdited);
}

QDate PeriodPicker::dateOf(Instant at) const {
  const LocalDateTime local = calendar_.local(at);
  return QDate(local.year, local.month, local.day);
}

Instant PeriodPicker::instantOf(const QDate& date) const {
  return calendar_.instant({date.year(), date.month(), date.day(), 12, 0, 0});
}

void PeriodPicker::chooseMode(int index) {
  if (refreshing_ || index < 0 || index >= static_cast<int>(std::size(kModes))) return;
  const ModeEntry& entry = kModes[index];
  const Instant now = clock_.now();
  if (entry.preset) {
    navigator_.showPreset(*entry.preset);
  } else if (entry.mode == ReportPeriodNavigator::Mode::custom) {
    const DateInterval shown = navigator_.period(now).interval;
    navigator_.showRange(shown.start, shown.end - std::chrono::hours(1));
  } else {
    const bool wasRange = navigator_.mode() == ReportPeriodNavigator::Mode::preset ||
                          navigator_.mode() == ReportPeriodNavigator::Mode::custom;
    navigator_.show(kindOf(entry.mode), wasRange ? now : navigator_.anchor());
  }
  Q_EMIT periodChanged();
}

void PeriodPicker::dateEdited() {
  if (refreshing_) return;
  navigator_.showRange(instantOf(from_->date()), instantOf(to_->date()));
  Q_EMIT periodChanged();
}

void PeriodPicker::refresh(const QString& label) {
  refreshing_ = true;
  const Instant now = clock_.now();
  for (int i = 0; i < static_cast<int>(std::size(kModes)); ++i) {
    const ModeEntry& entry = kModes[i];
    if (entry.mode != navigator_.mode()) continue;
    if (entry.preset && entry.preset != navigator_.preset()) continue;
    mode_->setCurrentIndex(i);
    break;
  }
  const bool custom = navigator_.mode() == ReportPeriodNavigator::Mode::custom;
  const DateInterval shown = navigator_.period(now).interval;
  from_->setDate(dateOf(shown.start));
  to_->setDate(dateOf(shown.end - std::chrono::hours(1)));
  from_->setVisible(custom);
  to_->setVisible(custom);
  next_->setEnabled(navigator_.canGoNext(now));
  label_->setText(label);
  refreshing_ = false;
}

QString PeriodPicker::label() const {
  return label_->text();
}

}  // namespace velto::gui
