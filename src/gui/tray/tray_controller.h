// The tray icon: the service set's menu-bar chip (one computation per process, refreshed every
// 30 s and on data, limit and chip-setting changes) drawn into the icon and the tooltip, and the
// menu: today's total, what is in front, the pause choices, the report, settings and quit.
// Thread: GUI thread. The services and the pause actions outlive the controller; while it lives
// the controller owns the chip model's onChange.
#pragma once

#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>
#include <vector>

#include "base/notice_bus.h"
#include "gui/tray/tray_menu_model.h"
#include "surfaces/menu_bar_title.h"

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace velto::gui {

class PauseActions;

struct TrayCallbacks {
  std::function<void()> openReport;
  std::function<void()> openSettings;
  std::function<void()> quit;
};

class TrayController : public QObject {
  Q_OBJECT
 public:
  TrayController(ServiceSet& services, PauseActions& pause, TrayCallbacks callbacks);
  ~TrayController() override;

  // False when the session has no tray host (no StatusNotifierWatcher, no XEmbed tray).
  static bool hostAvailable();

  void show();
  // Recomputes the service set's chip and the menu texts now.
  void refresh();

  QMenu* menu() const { return menu_.get(); }
  const std::optional<MenuBarChip>& chip() const;
  const TrayMenuState& state() const { return state_; }
  QSystemTrayIcon* icon() const { return icon_.get(); }

 private:
  void buildMenu();
  void updateTexts();
  void updateIcon();
  bool darkPanel() const;

  ServiceSet& services_;
  PauseActions& pause_;
  TrayCallbacks callbacks_;
  TrayMenuState state_;
  std::unique_ptr<QMenu> menu_;
  std::unique_ptr<QSystemTrayIcon> icon_;
  QAction* today_ = nullptr;
  QAction* front_ = nullptr;
  QAction* pauseAction_ = nullptr;
  QAction* pause15_ = nullptr;
  QAction* pause60_ = nullptr;
  QAction* pauseTomorrow_ = nullptr;
  QAction* resume_ = nullptr;
  QAction* report_ = nullptr;
  QAction* settings_ = nullptr;
  QAction* quit_ = nullptr;
  std::vector<Subscription> subscriptions_;
};

}  // namespace velto::gui
