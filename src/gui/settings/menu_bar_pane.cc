#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>

#include "app/service_set.h"
#include "gui/settings/settings_panes.h"
#include "gui/shell/qt_text.h"
#include "surfaces/menu_bar_title.h"

namespace velto::gui {

QWidget* makeMenuBarPane(PaneContext& context) {
  Settings& settings = context.services.settings();
  const std::string& lang = context.language;
  auto* pane = new QWidget;
  auto* form = new QFormLayout(pane);

  auto* mode = new QComboBox;
  for (std::string_view raw : kMenuBarDisplayModes) {
    mode->addItem(uiText(lang, "settings.menubar.mode." + std::string(raw)),
                  QString::fromUtf8(raw.data(), static_cast<int>(raw.size())));
  }
  mode->setCurrentIndex(mode->findData(qtext(settings.menuBarDisplay(kMenuBarDisplayModes))));
  QObject::connect(mode, &QComboBox::activated, pane, [&settings, mode](int index) {
    settings.setMenuBarDisplay(mode->itemData(index).toString().toStdString());
  });
  form->addRow(uiText(lang, "settings.menubar.mode"), mode);
  // Only while there is no limit for the chip to show.
  if (context.services.limits().limits().empty()) {
    auto* limitHint = new QLabel(uiText(lang, "settings.menubar.limitHint"));
    limitHint->setWordWrap(true);
    form->addRow(QString(), limitHint);
  }

  auto* budget = new QDoubleSpinBox;
  budget->setRange(0, 24);
  budget->setSingleStep(0.5);
  budget->setDecimals(1);
  budget->setSuffix(uiText(lang, "settings.hoursSuffix"));
  budget->setSpecialValueText(uiText(lang, "settings.menubar.noBudget"));
  budget->setValue(settings.dayBudgetSeconds().value_or(0) / 3600);
  QObject::connect(budget, &QDoubleSpinBox::valueChanged, pane,
                   [&settings](double hours) { settings.setDayBudgetSeconds(hours * 3600); });
  form->addRow(uiText(lang, "settings.menubar.budget"), budget);
  auto* budgetHint = new QLabel(uiText(lang, "settings.menubar.budgetHint"));
  budgetHint->setWordWrap(true);
  form->addRow(QString(), budgetHint);
  return pane;
}

}  // namespace velto::gui
