// The browser extension Velto ships inside its binary (resources/browser-extension), written
// out by `velto browser install` for the user to load into their browsers.
//
// Thread: any.
#pragma once

#include <vector>

#include "platform/linux/shell_files.h"

namespace velto::platform {

// Every file of the extension, sorted by path relative to resources/browser-extension.
const std::vector<ShellFile>& browserExtensionFiles();

}  // namespace velto::platform
