#include "platform/linux/browser_extension_setup.h"

#include <system_error>

#include "base/files.h"
#include "base/paths.h"
#include "platform/linux/browser_extension_files.h"

namespace velto::platform {

std::filesystem::path browserHostProgram(const std::filesystem::path& executable) {
  return executable.parent_path() / "velto-browser-host";
}

std::filesystem::path browserExtensionFolder() {
  return paths::dataDir() / "browser-extension";
}

std::vector<const NativeHostBrowser*> usedBrowsers(const UserFolders& folders) {
  std::vector<const NativeHostBrowser*> used;
  for (const NativeHostBrowser& browser : nativeHostBrowsers()) {
    std::error_code error;
    if (std::filesystem::is_directory(browserFolder(browser, folders), error)) {
      used.push_back(&browser);
    }
  }
  return used;
}

BrowserSetupResult installBrowserExtension(const std::vector<const NativeHostBrowser*>& browsers,
                                           const std::filesystem::path& hostProgram,
                                           const UserFolders& folders) {
  BrowserSetupResult result;
  std::error_code error;
  if (!std::filesystem::is_regular_file(hostProgram, error)) {
    result.errorKey = "browser.error.noHost %@";
    result.errorArgument = hostProgram.string();
    return result;
  }
  const std::filesystem::path extension = browserExtensionFolder();
  for (const ShellFile& file : browserExtensionFiles()) {
    if (Status written = files::writeAtomically(extension / file.path, file.text, 0644); !written) {
      result.errorKey = "browser.install.failed %@ %@";
      result.errorArgument = (extension / file.path).string();
      result.errorDetail = written.error();
      return result;
    }
  }
  for (const NativeHostBrowser* browser : browsers) {
    std::filesystem::path manifest = nativeHostManifestPath(*browser, folders);
    Status written =
        files::writeAtomically(manifest, nativeHostManifest(*browser, hostProgram), 0644);
    result.changes.emplace_back(browser, std::move(manifest), std::move(written));
  }
  return result;
}

BrowserSetupResult uninstallBrowserExtension(const UserFolders& folders) {
  BrowserSetupResult result;
  for (const NativeHostBrowser* browser : browsersWithVeltoHost(folders)) {
    std::filesystem::path manifest = nativeHostManifestPath(*browser, folders);
    Status removed = files::remove(manifest);
    result.changes.emplace_back(browser, std::move(manifest), std::move(removed));
  }
  std::error_code error;
  result.removedExtension = std::filesystem::remove_all(browserExtensionFolder(), error) > 0;
  return result;
}

}  // namespace velto::platform
