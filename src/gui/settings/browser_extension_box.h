// "Install the browser extension", offered next to the accessibility opt-in in the permissions
// pane and on the onboarding's browser page: which browsers it covers, which are connected now,
// and buttons that install and remove it as `velto browser install|uninstall` do for the
// browsers used on this computer (platform/linux/browser_extension_setup.h). After installing,
// it says where the extension was written for the user to load.
//
// Thread: GUI thread.
#pragma once

#include <QWidget>
#include <filesystem>
#include <string>

namespace velto::gui {

// `program`: the running desktop application, next to which the host program is installed.
QWidget* makeBrowserExtensionBox(const std::string& language, std::filesystem::path program);

}  // namespace velto::gui
