// The panes of the settings window, one per area. Each is a thin widget over the settings, the
// stores or a small model (general_settings.h, rules_model.h, limit_candidates.h) and rebuilds
// its lists when what it shows changes.
// Thread: GUI thread. The context outlives the panes.
#pragma once

#include <QWidget>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/linux/login_start_targets.h"

namespace velto {
class ServiceSet;
}

namespace velto::gui {

struct PaneContext {
  ServiceSet& services;
  std::string language;
  // The autostart entry and the user unit; `program` is the `velto` beside this program.
  platform::LoginStartPaths loginStart;
  std::vector<std::string> missingSourceKeys;  // catalog keys of sources that do not work
  bool notificationServer = false;             // a notification server owns the name
  std::string backend = {};                    // "x11", "wlroots"; empty: no desktop backend
  std::string backendReasonKey = {};           // catalog key of why there is none
};

QWidget* makeGeneralPane(PaneContext& context);
QWidget* makeMenuBarPane(PaneContext& context);
QWidget* makeCategoriesPane(PaneContext& context);
QWidget* makeRulesPane(PaneContext& context);
QWidget* makeExclusionsPane(PaneContext& context);
QWidget* makeLimitsPane(PaneContext& context);
QWidget* makeNotificationsPane(PaneContext& context);
QWidget* makePermissionsPane(PaneContext& context);

}  // namespace velto::gui
