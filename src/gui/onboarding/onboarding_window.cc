#include "gui/onboarding/onboarding_window.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "app/service_set.h"
#include "categories/category_seed_location.h"
#include "gui/settings/browser_extension_box.h"
#include "gui/shell/qt_text.h"

namespace velto::gui {

OnboardingWindow::OnboardingWindow(ServiceSet& services, QWidget* parent)
    : QDialog(parent), model_(services), language_(services.language()) {
  setObjectName(QStringLiteral("onboarding"));
  const std::string& lang = language_;
  setWindowTitle(uiText(lang, "onboarding.windowTitle"));
  auto* layout = new QVBoxLayout(this);
  pages_ = new QStackedWidget;
  const std::vector<OnboardingPage>& pages = OnboardingModel::pages();
  for (size_t i = 0; i < pages.size(); ++i) {
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    auto* title = new QLabel(uiText(lang, pages[i].titleKey));
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.5);
    big.setBold(true);
    title->setFont(big);
    column->addWidget(title);
    auto* body = new QLabel(i == 0 ? uiText(lang, pages[i].bodyKey, model_.dataFolderText())
                                   : uiText(lang, pages[i].bodyKey));
    body->setWordWrap(true);
    body->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(body);
    if (pages[i].titleKey == "onboarding.browser.title") {
      auto* box = new QCheckBox(uiText(lang, "onboarding.browser.optIn"));
      box->setChecked(model_.browserReading());
      connect(box, &QCheckBox::toggled, this, [this](bool on) { model_.setBrowserReading(on); });
      column->addWidget(box);
      column->addWidget(makeBrowserExtensionBox(
          lang, currentExecutable().value_or(std::filesystem::path("velto-gui"))));
    } else if (pages[i].titleKey == "onboarding.notifications.title") {
      auto* limits = new QCheckBox(uiText(lang, "settings.notifications.limitAlerts"));
      limits->setChecked(model_.limitAlerts());
      connect(limits, &QCheckBox::toggled, this, [this](bool on) { model_.setLimitAlerts(on); });
      auto* daily = new QCheckBox(uiText(lang, "settings.notifications.dailySummary"));
      daily->setChecked(model_.dailySummary());
      connect(daily, &QCheckBox::toggled, this, [this](bool on) { model_.setDailySummary(on); });
      column->addWidget(limits);
      column->addWidget(daily);
    }
    column->addStretch(1);
    pages_->addWidget(page);
  }
  layout->addWidget(pages_, 1);
  auto* buttons = new QHBoxLayout;
  auto* skip = new QPushButton(uiText(lang, "onboarding.skip"));
  back_ = new QPushButton(uiText(lang, "onboarding.back"));
  next_ = new QPushButton(uiText(lang, "onboarding.next"));
  next_->setDefault(true);
  connect(skip, &QPushButton::clicked, this, [this] { accept(); });
  connect(back_, &QPushButton::clicked, this, [this] { showPage(pages_->currentIndex() - 1); });
  connect(next_, &QPushButton::clicked, this, [this] {
    if (pages_->currentIndex() + 1 >= pages_->count()) {
      accept();
    } else {
      showPage(pages_->currentIndex() + 1);
    }
  });
  buttons->addWidget(skip);
  buttons->addStretch(1);
  buttons->addWidget(back_);
  buttons->addWidget(next_);
  layout->addLayout(buttons);
  resize(560, 360);
  showPage(0);
}

void OnboardingWindow::showPage(int index) {
  if (index < 0 || index >= pages_->count()) return;
  pages_->setCurrentIndex(index);
  back_->setEnabled(index > 0);
  next_->setText(index + 1 == pages_->count() ? uiText(language_, "onboarding.done")
                                              : uiText(language_, "onboarding.next"));
}

void OnboardingWindow::done(int result) {
  model_.finish();
  QDialog::done(result);
}

}  // namespace velto::gui
