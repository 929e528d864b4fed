// Keeps the tray chip current: recomputes it every 30 s, on demand (store and settings changes,
// a theme change) and tells the tray when it changed, logging each change.
// Thread: main thread.
#pragma once

#include <functional>
#include <optional>

#include "base/scheduler.h"
#include "surfaces/menu_bar_title.h"

namespace velto {

class MenuBarModel {
 public:
  // `input` gathers the current figures; `darkBar` tells the bar's appearance.
  MenuBarModel(Scheduler& scheduler, std::function<MenuBarTitle::Input()> input,
               std::function<bool()> darkBar);

  void start();
  void stop();
  void refresh();

  const std::optional<MenuBarChip>& chip() const { return chip_; }
  std::function<void(const std::optional<MenuBarChip>&)> onChange;

 private:
  Scheduler& scheduler_;
  std::function<MenuBarTitle::Input()> input_;
  std::function<bool()> darkBar_;
  Timer timer_;
  std::optional<MenuBarChip> chip_;
  bool computed_ = false;
};

}  // namespace velto
