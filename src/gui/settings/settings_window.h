// The settings window: a list of areas on the left and the chosen area's pane on the right.
// Keyboard: the list takes Up/Down, Tab moves into the pane. Geometry is remembered by the shell.
// Thread: GUI thread.
#pragma once

#include <QWidget>
#include <string_view>

#include "gui/settings/settings_panes.h"

class QListWidget;
class QStackedWidget;

namespace velto::gui {

class SettingsWindow : public QWidget {
  Q_OBJECT
 public:
  // Pane names, in order, for showPane and the command line.
  static constexpr std::string_view kPanes[] = {"general",       "menubar",    "categories",
                                                "rules",         "exclusions", "limits",
                                                "notifications", "permissions"};

  SettingsWindow(PaneContext context, QWidget* parent = nullptr);

  // False for an unknown name.
  bool showPane(std::string_view name);
  std::string_view currentPane() const;

 private:
  PaneContext context_;
  QListWidget* list_ = nullptr;
  QStackedWidget* stack_ = nullptr;
};

}  // namespace velto::gui
