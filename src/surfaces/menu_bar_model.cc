#include "surfaces/menu_bar_model.h"

#include "base/log.h"

namespace velto {

MenuBarModel::MenuBarModel(Scheduler& scheduler, std::function<MenuBarTitle::Input()> input,
                           std::function<bool()> darkBar)
    : scheduler_(scheduler), input_(std::move(input)), darkBar_(std::move(darkBar)) {}

void MenuBarModel::start() {
  timer_ = scheduler_.repeating(30, 1, [this] { refresh(); });
  refresh();
}

void MenuBarModel::stop() {
  timer_.cancel();
}

void MenuBarModel::refresh() {
  const MenuBarTitle::Input input = input_();
  std::optional<MenuBarChip> next = MenuBarTitle::chip(input);
  if (computed_ && next == chip_) return;
  const std::string before = chip_ ? chip_->text : "";
  const std::string after = next ? next->text : "";
  const std::string mode =
      input.mode == MenuBarDisplay::off ? "(mark only)" : std::string(rawValue(input.mode));
  log::info("Menu bar badge: %{public}s -> %{public}s [%{public}s, %{public}s bar]", before, after,
            mode, std::string(darkBar_ && darkBar_() ? "dark" : "light"));
  chip_ = std::move(next);
  computed_ = true;
  if (onChange) onChange(chip_);
}

}  // namespace velto
