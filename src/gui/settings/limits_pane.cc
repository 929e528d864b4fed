#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QStandardItemModel>
#include <QVBoxLayout>
#include <algorithm>
#include <optional>

#include "app/service_set.h"
#include "base/notices.h"
#include "gui/settings/limit_candidates.h"
#include "gui/settings/settings_panes.h"
#include "gui/shell/qt_text.h"

namespace velto::gui {

namespace {

// The sheet for a new limit or goal: what (grouped: everything, categories, apps, sites), which
// kind, per day or week, and how long in hours and minutes, from one minute up.
class AddLimitSheet : public QDialog {
 public:
  AddLimitSheet(ServiceSet& services, const std::string& lang, QWidget* parent)
      : QDialog(parent), services_(services), candidates_(limitCandidates(services)) {
    setWindowTitle(uiText(lang, "settings.limits.add"));
    setObjectName(QStringLiteral("addLimitSheet"));
    auto* form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    subject_ = new QComboBox;
    subject_->setAccessibleName(uiText(lang, "settings.limits.subject"));
    auto* items = qobject_cast<QStandardItemModel*>(subject_->model());
    std::optional<UsageLimit::Subject::Kind> group;
    for (size_t i = 0; i < candidates_.size(); ++i) {
      const UsageLimit::Subject::Kind kind = candidates_[i].subject.kind;
      if (group != kind) {
        if (group) subject_->insertSeparator(subject_->count());
        if (const char* key = groupKey(kind)) {
          subject_->addItem(uiText(lang, key));
          if (items) {
            QStandardItem* header = items->item(subject_->count() - 1);
            header->setFlags(Qt::NoItemFlags);
            QFont bold = header->font();
            bold.setBold(true);
            header->setFont(bold);
          }
        }
        group = kind;
      }
      const bool indented = kind != UsageLimit::Subject::Kind::total;
      subject_->addItem(
          (indented ? QStringLiteral("    ") : QString()) + qtext(candidates_[i].label),
          static_cast<int>(i));
    }
    subject_->setCurrentIndex(subject_->findData(0));
    form->addRow(uiText(lang, "settings.limits.subject"), subject_);
    kind_ = new QComboBox;
    kind_->addItem(uiText(lang, "settings.limits.kind.limit"), 0);
    kind_->addItem(uiText(lang, "settings.limits.kind.goal"), 1);
    form->addRow(uiText(lang, "settings.limits.kind"), kind_);
    span_ = new QComboBox;
    span_->addItem(uiText(lang, "settings.limits.span.day"), 0);
    span_->addItem(uiText(lang, "settings.limits.span.week"), 1);
    form->addRow(uiText(lang, "settings.limits.span"), span_);
    auto* amount = new QWidget;
    auto* amountLine = new QHBoxLayout(amount);
    amountLine->setContentsMargins(0, 0, 0, 0);
    hours_ = new QSpinBox;
    hours_->setRange(0, 168);
    hours_->setValue(1);
    hours_->setSuffix(uiText(lang, "settings.hoursSuffix"));
    hours_->setAccessibleName(uiText(lang, "settings.limits.amount.hours"));
    minutes_ = new QSpinBox;
    minutes_->setRange(0, 59);
    minutes_->setSingleStep(5);
    minutes_->setSuffix(uiText(lang, "settings.minutesSuffix"));
    minutes_->setAccessibleName(uiText(lang, "settings.limits.amount.minutes"));
    amountLine->addWidget(hours_);
    amountLine->addWidget(minutes_);
    amountLine->addStretch(1);
    form->addRow(uiText(lang, "settings.limits.amount"), amount);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    ok_ = buttons->button(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    // Nothing to save under a minute.
    auto check = [this] { ok_->setEnabled(seconds() >= 60); };
    connect(hours_, &QSpinBox::valueChanged, this, check);
    connect(minutes_, &QSpinBox::valueChanged, this, check);
    form->addRow(buttons);
    // Wide enough for the title bar's text and the longest subject.
    setMinimumWidth(std::max(420, fontMetrics().horizontalAdvance(windowTitle()) + 160));
  }

  double seconds() const { return hours_->value() * 3600.0 + minutes_->value() * 60.0; }

  // The candidate index chosen; none while a group header is.
  std::optional<size_t> chosen() const {
    bool ok = false;
    const int index = subject_->currentData().toInt(&ok);
    if (!ok || index < 0 || index >= static_cast<int>(candidates_.size())) return std::nullopt;
    return static_cast<size_t>(index);
  }

  void save() {
    const std::optional<size_t> index = chosen();
    if (!index || seconds() < 60) return;
    services_.limits().set(
        candidates_[*index].subject,
        kind_->currentData().toInt() == 0 ? UsageLimit::Kind::limit : UsageLimit::Kind::goal,
        span_->currentData().toInt() == 0 ? UsageLimit::Span::day : UsageLimit::Span::week,
        seconds());
  }

 private:
  static const char* groupKey(UsageLimit::Subject::Kind kind) {
    switch (kind) {
      case UsageLimit::Subject::Kind::total:
        return nullptr;
      case UsageLimit::Subject::Kind::category:
        return "settings.limits.group.categories";
      case UsageLimit::Subject::Kind::app:
        return "settings.limits.group.apps";
      case UsageLimit::Subject::Kind::host:
        return "settings.limits.group.sites";
    }
    return nullptr;
  }

  ServiceSet& services_;
  std::vector<LimitCandidate> candidates_;
  QComboBox* subject_ = nullptr;
  QComboBox* kind_ = nullptr;
  QComboBox* span_ = nullptr;
  QSpinBox* hours_ = nullptr;
  QSpinBox* minutes_ = nullptr;
  QPushButton* ok_ = nullptr;
};

class LimitsPane : public QWidget {
 public:
  explicit LimitsPane(PaneContext& context) : services_(context.services), lang_(context.language) {
    auto* layout = new QVBoxLayout(this);
    auto* intro = new QLabel(uiText(lang_, "settings.limits.intro"));
    intro->setWordWrap(true);
    layout->addWidget(intro);
    rows_ = new QVBoxLayout;
    layout->addLayout(rows_);
    layout->addStretch(1);
    auto* add = new QPushButton(uiText(lang_, "settings.limits.add"));
    connect(add, &QPushButton::clicked, this, [this] {
      AddLimitSheet sheet(services_, lang_, this);
      if (sheet.exec() == QDialog::Accepted) sheet.save();
    });
    layout->addWidget(add, 0, Qt::AlignLeft);
    changes_ = services_.limits().subscribe([this] { reload(); });
    segments_ = services_.notices().subscribe(notices::kSegmentsDidChange, [this] { reload(); });
    reload();
  }

 private:
  void reload() {
    while (QLayoutItem* item = rows_->takeAt(0)) {
      if (QWidget* widget = item->widget()) widget->deleteLater();
      delete item;
    }
    const std::vector<UsageLimit> limits = services_.limits().limits();
    if (limits.empty()) {
      rows_->addWidget(new QLabel(uiText(lang_, "settings.limits.none")));
      return;
    }
    for (const UsageLimit& limit : limits) {
      auto* row = new QWidget;
      auto* line = new QHBoxLayout(row);
      line->setContentsMargins(0, 0, 0, 0);
      auto* enabled = new QCheckBox(qtext(subjectName(limit)));
      enabled->setChecked(limit.isEnabled);
      const Uuid id = limit.id;
      connect(enabled, &QCheckBox::toggled, this,
              [this, id](bool on) { services_.limits().setEnabled(id, on); });
      auto* kind = new QLabel(uiText(lang_, limit.kind == UsageLimit::Kind::limit
                                                ? "settings.limits.kind.limit"
                                                : "settings.limits.kind.goal"));
      auto* progress = new QLabel(qtext(limitLine(services_, limit)));
      auto* remove = new QPushButton(uiText(lang_, "settings.remove"));
      connect(remove, &QPushButton::clicked, this,
              [this, id] { services_.limits().deleteRule(id); });
      line->addWidget(enabled, 2);
      line->addWidget(kind);
      line->addWidget(progress, 3);
      line->addWidget(remove);
      rows_->addWidget(row);
    }
  }

  std::string subjectName(const UsageLimit& limit) const {
    switch (limit.subject.kind) {
      case UsageLimit::Subject::Kind::total:
        return i18n::text(lang_, "limits.subject.total");
      case UsageLimit::Subject::Kind::category:
        return services_.categories()
            .effective(UsageCategory::fromRaw(limit.subject.value), lang_)
            .name;
      case UsageLimit::Subject::Kind::app:
        return limit.subject.name.empty() ? limit.subject.value : limit.subject.name;
      case UsageLimit::Subject::Kind::host:
        return limit.subject.value;
    }
    return limit.subject.value;
  }

  ServiceSet& services_;
  std::string lang_;
  QVBoxLayout* rows_ = nullptr;
  Subscription changes_;
  Subscription segments_;
};

}  // namespace

QWidget* makeLimitsPane(PaneContext& context) {
  return new LimitsPane(context);
}

}  // namespace velto::gui
