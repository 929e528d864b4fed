#include "gui/tray/tray_controller.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QPalette>
#include <QSystemTrayIcon>

#include "app/service_set.h"
#include "base/notices.h"
#include "base/strings.h"
#include "gui/shell/pause_actions.h"
#include "gui/shell/qt_text.h"
#include "gui/tray/chip_icon.h"
#include "settings/settings_keys.h"

namespace velto::gui {

TrayController::TrayController(ServiceSet& services, PauseActions& pause, TrayCallbacks callbacks)
    : services_(services), pause_(pause), callbacks_(std::move(callbacks)) {
  services_.menuBar().onChange = [this](const std::optional<MenuBarChip>&) {
    updateIcon();
    updateTexts();
  };
  buildMenu();
  // The service set refreshes the chip on these itself (and calls onChange when it moved); the
  // menu lines, the pause state and the panel's shade can change while the chip stays.
  for (std::string_view name :
       {std::string_view(notices::kSegmentsDidChange), std::string_view(notices::kDayDidChange),
        keys::kTheme, keys::kUiLanguage, keys::kIsPaused, keys::kPausedUntil}) {
    subscriptions_.push_back(services_.notices().subscribe(name, [this] {
      updateIcon();
      updateTexts();
    }));
  }
}

TrayController::~TrayController() {
  services_.menuBar().onChange = nullptr;
}

const std::optional<MenuBarChip>& TrayController::chip() const {
  return services_.menuBar().chip();
}

bool TrayController::hostAvailable() {
  return QSystemTrayIcon::isSystemTrayAvailable();
}

void TrayController::buildMenu() {
  menu_ = std::make_unique<QMenu>();
  today_ = menu_->addAction(QString());
  today_->setEnabled(false);
  front_ = menu_->addAction(QString());
  front_->setEnabled(false);
  menu_->addSeparator();
  pauseAction_ = menu_->addAction(QString(), [this] { pause_.pause(); });
  pause15_ = menu_->addAction(QString(), [this] { pause_.pauseFor(15 * 60); });
  pause60_ = menu_->addAction(QString(), [this] { pause_.pauseFor(60 * 60); });
  pauseTomorrow_ = menu_->addAction(QString(), [this] { pause_.pauseUntilTomorrow(); });
  resume_ = menu_->addAction(QString(), [this] { pause_.resume(); });
  menu_->addSeparator();
  report_ = menu_->addAction(QString(), [this] {
    if (callbacks_.openReport) callbacks_.openReport();
  });
  settings_ = menu_->addAction(QString(), [this] {
    if (callbacks_.openSettings) callbacks_.openSettings();
  });
  menu_->addSeparator();
  quit_ = menu_->addAction(QString(), [this] {
    if (callbacks_.quit) callbacks_.quit();
  });
  QObject::connect(menu_.get(), &QMenu::aboutToShow, this, [this] { updateTexts(); });
  updateTexts();
}

void TrayController::show() {
  icon_ = std::make_unique<QSystemTrayIcon>();
  icon_->setContextMenu(menu_.get());
  QObject::connect(icon_.get(), &QSystemTrayIcon::activated, this,
                   [this](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger && callbacks_.openReport) {
                       callbacks_.openReport();
                     }
                   });
  updateIcon();
  updateTexts();
  icon_->show();
}

void TrayController::refresh() {
  services_.menuBar().refresh();
  updateIcon();
  updateTexts();
}

void TrayController::updateTexts() {
  const std::string lang = services_.language();
  state_ = trayMenuState(services_);
  today_->setText(qtext(state_.todayText));
  front_->setText(qtext(state_.frontText));
  pauseAction_->setText(qtext(i18n::text(lang, "tray.pause")));
  pause15_->setText(qtext(i18n::text(lang, "tray.pause15")));
  pause60_->setText(qtext(i18n::text(lang, "tray.pause60")));
  pauseTomorrow_->setText(qtext(i18n::text(lang, "tray.pauseTomorrow")));
  resume_->setText(qtext(i18n::text(lang, "tray.resume")));
  report_->setText(qtext(i18n::text(lang, "tray.openReport")));
  settings_->setText(qtext(i18n::text(lang, "tray.settings")));
  quit_->setText(qtext(i18n::text(lang, "tray.quit")));
  for (QAction* action : {pauseAction_, pause15_, pause60_, pauseTomorrow_}) {
    action->setVisible(!state_.paused);
  }
  resume_->setVisible(state_.paused);
  if (icon_) icon_->setToolTip(qtext(trayTooltip(chip(), state_)));
}

void TrayController::updateIcon() {
  if (!icon_) return;
  icon_->setIcon(chipIcon(chip(), darkPanel()));
}

bool TrayController::darkPanel() const {
  const std::string theme = services_.settings().theme();
  if (theme == "dark") return true;
  if (theme == "light") return false;
  return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

}  // namespace velto::gui
