#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/service_set.h"
#include "base/notices.h"
#include "gui/settings/limit_candidates.h"
#include "gui/settings/settings_panes.h"
#include "gui/shell/qt_text.h"

namespace velto::gui {

namespace {

// The sheet for a new limit or goal: what, which kind, per day or week, how long.
class AddLimitSheet : public QDialog {
 public:
  AddLimitSheet(ServiceSet& services, const std::string& lang, QWidget* parent)
      : QDialog(parent), services_(services), candidates_(limitCandidates(services)) {
    setWindowTitle(uiText(lang, "settings.limits.add"));
    auto* form = new QFormLayout(this);
    subject_ = new QComboBox;
    for (const LimitCandidate& candidate : candidates_) subject_->addItem(qtext(candidate.label));
    form->addRow(uiText(lang, "settings.limits.subject"), subject_);
    kind_ = new QComboBox;
    kind_->addItem(uiText(lang, "settings.limits.kind.limit"), 0);
    kind_->addItem(uiText(lang, "settings.limits.kind.goal"), 1);
    form->addRow(uiText(lang, "settings.limits.kind"), kind_);
    span_ = new QComboBox;
    span_->addItem(uiText(lang, "settings.limits.span.day"), 0);
    span_->addItem(uiText(lang, "settings.limits.span.week"), 1);
    form->addRow(uiText(lang, "settings.limits.span"), span_);
    hours_ = new QDoubleSpinBox;
    hours_->setRange(0.25, 168);
    hours_->setSingleStep(0.25);
    hours_->setValue(1);
    hours_->setSuffix(uiText(lang, "settings.hoursSuffix"));
    form->addRow(uiText(lang, "settings.limits.amount"), hours_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
  }

  void save() {
    const int index = subject_->currentIndex();
    if (index < 0 || index >= static_cast<int>(candidates_.size())) return;
    services_.limits().set(
        candidates_[static_cast<size_t>(index)].subject,
        kind_->currentData().toInt() == 0 ? UsageLimit::Kind::limit : UsageLimit::Kind::goal,
        span_->currentData().toInt() == 0 ? UsageLimit::Span::day : UsageLimit::Span::week,
        hours_->value() * 3600);
  }

 private:
  ServiceSet& services_;
  std::vector<LimitCandidate> candidates_;
  QComboBox* subject_ = nullptr;
  QComboBox* kind_ = nullptr;
  QComboBox* span_ = nullptr;
  QDoubleSpinBox* hours_ = nullptr;
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
