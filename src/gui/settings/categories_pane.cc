#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/service_set.h"
#include "categories/color_hue.h"
#include "gui/settings/settings_panes.h"
#include "gui/shell/qt_text.h"

namespace velto::gui {

namespace {

QColor swatch(const ColorHue& hue) {
  return QColor(hue.light.red, hue.light.green, hue.light.blue);
}

class CategoriesPane : public QWidget {
 public:
  explicit CategoriesPane(PaneContext& context)
      : services_(context.services), lang_(context.language) {
    auto* layout = new QHBoxLayout(this);
    auto* left = new QVBoxLayout;
    list_ = new QListWidget;
    list_->setAccessibleName(uiText(lang_, "settings.pane.categories"));
    left->addWidget(list_, 1);
    auto* add = new QPushButton(uiText(lang_, "settings.categories.add"));
    connect(add, &QPushButton::clicked, this, [this] { addCustom(); });
    left->addWidget(add);
    layout->addLayout(left, 1);

    auto* form = new QFormLayout;
    name_ = new QLineEdit;
    connect(name_, &QLineEdit::editingFinished, this, [this] { changeName(); });
    form->addRow(uiText(lang_, "settings.categories.name"), name_);
    hue_ = new QComboBox;
    for (std::string_view key : offeredHueKeys()) {
      QPixmap chip(14, 14);
      chip.fill(swatch(colorHue(key)));
      hue_->addItem(QIcon(chip), uiText(lang_, hueNameKey(key)),
                    QString::fromUtf8(key.data(), static_cast<int>(key.size())));
    }
    connect(hue_, &QComboBox::activated, this, [this] { changeHueOrFocus(); });
    form->addRow(uiText(lang_, "settings.categories.hue"), hue_);
    focus_ = new QComboBox;
    for (FocusLabel label : kFocusLabels) {
      focus_->addItem(uiText(lang_, localisationKey(label)), static_cast<int>(label));
    }
    connect(focus_, &QComboBox::activated, this, [this] { changeHueOrFocus(); });
    form->addRow(uiText(lang_, "settings.categories.focus"), focus_);
    renamedFrom_ = new QLabel;
    form->addRow(QString(), renamedFrom_);
    reset_ = new QPushButton(uiText(lang_, "settings.categories.reset"));
    connect(reset_, &QPushButton::clicked, this, [this] {
      if (auto builtIn = selected().builtIn(); builtIn && selected().isBuiltIn()) {
        services_.categories().clearOverride(*builtIn);
      }
    });
    form->addRow(QString(), reset_);
    remove_ = new QPushButton(uiText(lang_, "settings.categories.delete"));
    connect(remove_, &QPushButton::clicked, this, [this] {
      if (!selected().isBuiltIn()) services_.categories().deleteCustom(selected().customId());
    });
    form->addRow(QString(), remove_);
    layout->addLayout(form, 2);

    connect(list_, &QListWidget::currentRowChanged, this, [this] { showSelected(); });
    changes_ = services_.categories().subscribeChanges([this] { reload(); });
    reload();
  }

 private:
  UsageCategory selected() const {
    const int row = list_->currentRow();
    if (row < 0 || row >= static_cast<int>(categories_.size())) return BuiltInCategory::other;
    return categories_[static_cast<size_t>(row)];
  }

  void reload() {
    const int row = std::max(0, list_->currentRow());
    categories_ = services_.categories().allCategories();
    const QSignalBlocker block(list_);
    list_->clear();
    for (const UsageCategory& category : categories_) {
      const EffectiveCategory effective = services_.categories().effective(category, lang_);
      QPixmap chip(14, 14);
      chip.fill(swatch(services_.categories().hue(category)));
      list_->addItem(new QListWidgetItem(QIcon(chip), qtext(effective.name)));
    }
    list_->setCurrentRow(std::min(row, list_->count() - 1));
    showSelected();
  }

  void showSelected() {
    const UsageCategory category = selected();
    const EffectiveCategory effective = services_.categories().effective(category, lang_);
    name_->setText(qtext(effective.name));
    hue_->setCurrentIndex(hue_->findData(qtext(effective.hueKey)));
    focus_->setCurrentIndex(focus_->findData(static_cast<int>(effective.focus)));
    std::optional<std::string> renamed;
    if (auto builtIn = category.builtIn(); builtIn && category.isBuiltIn()) {
      renamed = services_.categories().renamedFromText(*builtIn, lang_);
    }
    renamedFrom_->setText(renamed ? qtext(*renamed) : QString());
    reset_->setVisible(category.isBuiltIn());
    remove_->setVisible(!category.isBuiltIn());
  }

  void changeName() {
    const std::string name = name_->text().trimmed().toStdString();
    if (name.empty()) return showSelected();
    services_.categories().change(selected(), CategoryOverride{name, std::nullopt, std::nullopt});
  }

  void changeHueOrFocus() {
    const std::string hue = hue_->currentData().toString().toStdString();
    const auto focus = static_cast<FocusLabel>(focus_->currentData().toInt());
    services_.categories().change(selected(), CategoryOverride{std::nullopt, hue, focus});
  }

  void addCustom() {
    bool ok = false;
    const QString name = QInputDialog::getText(this, uiText(lang_, "settings.categories.add"),
                                               uiText(lang_, "settings.categories.name"),
                                               QLineEdit::Normal, {}, &ok);
    if (!ok || name.trimmed().isEmpty()) return;
    const auto hues = offeredHueKeys();
    const std::string hue(hues[categories_.size() % hues.size()]);
    services_.categories().addCustom(name.trimmed().toStdString(), hue, "tag", FocusLabel::neutral,
                                     services_.clock().now());
    list_->setCurrentRow(list_->count() - 1);
  }

  ServiceSet& services_;
  std::string lang_;
  std::vector<UsageCategory> categories_;
  QListWidget* list_ = nullptr;
  QLineEdit* name_ = nullptr;
  QComboBox* hue_ = nullptr;
  QComboBox* focus_ = nullptr;
  QLabel* renamedFrom_ = nullptr;
  QPushButton* reset_ = nullptr;
  QPushButton* remove_ = nullptr;
  Subscription changes_;
};

}  // namespace

QWidget* makeCategoriesPane(PaneContext& context) {
  return new CategoriesPane(context);
}

}  // namespace velto::gui
