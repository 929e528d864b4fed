#include "gui/settings/settings_window.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QScrollArea>
#include <QStackedWidget>

#include "gui/shell/qt_text.h"

namespace velto::gui {

SettingsWindow::SettingsWindow(PaneContext context, QWidget* parent)
    : QWidget(parent, Qt::Window), context_(std::move(context)) {
  setObjectName(QStringLiteral("settings"));
  const std::string& lang = context_.language;
  setWindowTitle(uiText(lang, "settings.windowTitle"));
  auto* layout = new QHBoxLayout(this);
  list_ = new QListWidget;
  list_->setAccessibleName(uiText(lang, "settings.windowTitle"));
  list_->setMaximumWidth(200);
  list_->setSpacing(3);
  stack_ = new QStackedWidget;
  using Factory = QWidget* (*)(PaneContext&);
  const Factory factories[] = {makeGeneralPane,       makeMenuBarPane,    makeCategoriesPane,
                               makeRulesPane,         makeExclusionsPane, makeLimitsPane,
                               makeNotificationsPane, makePermissionsPane};
  for (size_t i = 0; i < std::size(kPanes); ++i) {
    list_->addItem(uiText(lang, "settings.pane." + std::string(kPanes[i])));
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(factories[i](context_));
    stack_->addWidget(scroll);
  }
  connect(list_, &QListWidget::currentRowChanged, stack_, &QStackedWidget::setCurrentIndex);
  list_->setCurrentRow(0);
  layout->addWidget(list_);
  layout->addWidget(stack_, 1);
  resize(820, 560);
}

bool SettingsWindow::showPane(std::string_view name) {
  for (size_t i = 0; i < std::size(kPanes); ++i) {
    if (kPanes[i] == name) {
      list_->setCurrentRow(static_cast<int>(i));
      return true;
    }
  }
  return false;
}

std::string_view SettingsWindow::currentPane() const {
  const int row = list_->currentRow();
  if (row < 0 || row >= static_cast<int>(std::size(kPanes))) return {};
  return kPanes[static_cast<size_t>(row)];
}

}  // namespace velto::gui
