// Connecting the user's browsers to Velto and disconnecting them: the extension written out to
// <data folder>/browser-extension for the user to load, and the native messaging host's
// manifest in each browser's folder (context/native_host_manifests.h). Shared by
// `velto browser` and the desktop application.
//
// Thread: any; touches only the user's files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "context/native_host_manifests.h"

namespace velto::platform {

// The host program shipped next to `executable` (velto or velto-gui).
std::filesystem::path browserHostProgram(const std::filesystem::path& executable);
// Where the extension is written out.
std::filesystem::path browserExtensionFolder();
// The browsers that have been used here (their folders exist), in nativeHostBrowsers() order.
std::vector<const NativeHostBrowser*> usedBrowsers(const UserFolders& folders);

// What one manifest change did.
struct BrowserManifestChange {
  BrowserManifestChange(const NativeHostBrowser* browser, std::filesystem::path manifest,
                        Status status)
      : browser(browser), manifest(std::move(manifest)), status(std::move(status)) {}

  const NativeHostBrowser* browser;
  std::filesystem::path manifest;
  Status status;
};

struct BrowserSetupResult {
  // Set when nothing was done: the catalog key of why, and its arguments (a path, the error).
  std::optional<std::string> errorKey;
  std::string errorArgument;
  std::string errorDetail;
  std::vector<BrowserManifestChange> changes;
  bool removedExtension = false;  // uninstall removed the written extension
};

// Writes the extension and a manifest naming `hostProgram` for each of `browsers`. Fails
// (errorKey "browser.error.noHost %@") when the host program is missing, and with
// "browser.install.failed %@ %@" when the extension cannot be written.
BrowserSetupResult installBrowserExtension(const std::vector<const NativeHostBrowser*>& browsers,
                                           const std::filesystem::path& hostProgram,
                                           const UserFolders& folders);

// Removes every manifest that names Velto's host, and the written extension.
BrowserSetupResult uninstallBrowserExtension(const UserFolders& folders);

}  // namespace velto::platform
