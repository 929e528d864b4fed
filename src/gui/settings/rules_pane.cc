#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/service_set.h"
#include "base/log.h"
#include "base/notices.h"
#include "gui/settings/rules_model.h"
#include "gui/settings/settings_panes.h"
#include "gui/shell/qt_text.h"

namespace velto::gui {

namespace {

class RulesPane : public QWidget {
 public:
  explicit RulesPane(PaneContext& context)
      : services_(context.services), lang_(context.language), model_(context.services) {
    auto* layout = new QVBoxLayout(this);
    auto* intro = new QLabel(uiText(lang_, "settings.rules.intro"));
    intro->setWordWrap(true);
    layout->addWidget(intro);
    list_ = new QListWidget;
    list_->setAccessibleName(uiText(lang_, "settings.pane.rules"));
    layout->addWidget(list_, 1);
    auto* remove = new QPushButton(uiText(lang_, "settings.remove"));
    connect(remove, &QPushButton::clicked, this, [this] {
      const int row = list_->currentRow();
      if (row >= 0 && row < static_cast<int>(rules_.size())) {
        (void)model_.remove(rules_[static_cast<size_t>(row)].id);
      }
    });
    layout->addWidget(remove, 0, Qt::AlignLeft);

    auto* add = new QHBoxLayout;
    subject_ = new QComboBox;
    for (auto subject : {CategoryRule::Subject::app, CategoryRule::Subject::host,
                         CategoryRule::Subject::keyword}) {
      subject_->addItem(uiText(lang_, "settings.rules.subject." + std::string(rawValue(subject))),
                        static_cast<int>(subject));
    }
    pattern_ = new QLineEdit;
    pattern_->setAccessibleName(uiText(lang_, "settings.rules.pattern"));
    pattern_->setPlaceholderText(uiText(lang_, "settings.rules.pattern"));
    category_ = new QComboBox;
    for (const UsageCategory& category : services_.categories().allCategories()) {
      const EffectiveCategory effective = services_.categories().effective(category, lang_);
      category_->addItem(qtext(effective.name), qtext(effective.rawValue));
    }
    auto* addButton = new QPushButton(uiText(lang_, "settings.add"));
    auto addRule = [this] {
      const auto subject = static_cast<CategoryRule::Subject>(subject_->currentData().toInt());
      if (model_.add(subject, pattern_->text().toStdString(),
                     category_->currentData().toString().toStdString())) {
        pattern_->clear();
      }
    };
    connect(addButton, &QPushButton::clicked, this, addRule);
    connect(pattern_, &QLineEdit::returnPressed, this, addRule);
    add->addWidget(subject_);
    add->addWidget(pattern_, 1);
    add->addWidget(category_);
    add->addWidget(addButton);
    layout->addLayout(add);

    changes_ =
        services_.notices().subscribe(notices::kCategoryRulesDidChange, [this] { reload(); });
    reload();
  }

 private:
  void reload() {
    rules_ = model_.rules();
    list_->clear();
    for (const CategoryRule& rule : rules_) list_->addItem(qtext(model_.describe(rule)));
  }

  ServiceSet& services_;
  std::string lang_;
  RulesModel model_;
  std::vector<CategoryRule> rules_;
  QListWidget* list_ = nullptr;
  QComboBox* subject_ = nullptr;
  QLineEdit* pattern_ = nullptr;
  QComboBox* category_ = nullptr;
  Subscription changes_;
};

}  // namespace

QWidget* makeRulesPane(PaneContext& context) {
  return new RulesPane(context);
}

}  // namespace velto::gui
