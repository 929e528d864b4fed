// `velto browser install [BROWSER...] | uninstall`: the browser extension's native messaging
// host for the user's browsers.
//
// install writes the extension (resources/browser-extension) to <data folder>/browser-extension
// for the user to load, and the host's manifest for each browser named (chromium, chrome, brave,
// edge, vivaldi, firefox), or without names for each of them that has been used here (its
// folder exists). uninstall removes every manifest of Velto's host and the written extension;
// the extension itself is removed in each browser by the user. Nothing else is touched.
#include <cstdio>
#include <system_error>

#include "base/files.h"
#include "base/paths.h"
#include "base/strings.h"
#include "categories/category_seed_location.h"
#include "cli/command.h"
#include "context/native_host_manifests.h"
#include "platform/linux/browser_extension_files.h"

namespace velto::cli {

namespace {

constexpr const char* kHostProgram = "velto-browser-host";

void say(const std::string& text) {
  std::fputs(text.c_str(), stderr);
  std::fputc('\n', stderr);
}

std::filesystem::path extensionFolder() {
  return paths::dataDir() / "browser-extension";
}

int install(const std::vector<std::string>& names, const std::string& language) {
  const UserFolders folders = currentUserFolders();
  std::vector<const NativeHostBrowser*> targets;
  for (const std::string& name : names) {
    const NativeHostBrowser* browser = nativeHostBrowser(name);
    if (browser == nullptr) {
      say(i18n::text(language, "browser.error.unknownBrowser %@", name));
      return 2;
    }
    targets.push_back(browser);
  }
  if (names.empty()) {
    for (const NativeHostBrowser& browser : nativeHostBrowsers()) {
      std::error_code error;
      if (std::filesystem::is_directory(browserFolder(browser, folders), error)) {
        targets.push_back(&browser);
      }
    }
    if (targets.empty()) {
      say(i18n::text(language, "browser.install.noneFound"));
      return 1;
    }
  }
  const std::optional<std::filesystem::path> self = currentExecutable();
  const std::filesystem::path host =
      self ? self->parent_path() / kHostProgram : std::filesystem::path(kHostProgram);
  std::error_code error;
  if (!self || !std::filesystem::is_regular_file(host, error)) {
    say(i18n::text(language, "browser.error.noHost %@", host.string()));
    return 1;
  }

  const std::filesystem::path extension = extensionFolder();
  for (const platform::ShellFile& file : platform::browserExtensionFiles()) {
    if (Status written = files::writeAtomically(extension / file.path, file.text, 0644); !written) {
      say(i18n::text(language, "browser.install.failed %@ %@", (extension / file.path).string(),
                     written.error()));
      return 1;
    }
  }
  int status = 0;
  for (const NativeHostBrowser* browser : targets) {
    const std::filesystem::path manifest = nativeHostManifestPath(*browser, folders);
    if (Status written = files::writeAtomically(manifest, nativeHostManifest(*browser, host), 0644);
        !written) {
      say(i18n::text(language, "browser.install.failed %@ %@", manifest.string(), written.error()));
      status = 1;
      continue;
    }
    say(i18n::text(language, "browser.install.wrote %@ %@", std::string(browser->name),
                   manifest.string()));
  }
  say(i18n::text(language, "browser.install.extension %@", extension.string()));
  return status;
}

int uninstall(const std::string& language) {
  const UserFolders folders = currentUserFolders();
  int status = 0;
  bool removedAny = false;
  for (const NativeHostBrowser* browser : browsersWithVeltoHost(folders)) {
    const std::filesystem::path manifest = nativeHostManifestPath(*browser, folders);
    if (Status removed = files::remove(manifest); !removed) {
      say(i18n::text(language, "browser.install.failed %@ %@", manifest.string(), removed.error()));
      status = 1;
      continue;
    }
    removedAny = true;
    say(i18n::text(language, "browser.uninstall.removed %@ %@", std::string(browser->name),
                   manifest.string()));
  }
  std::error_code error;
  if (std::filesystem::remove_all(extensionFolder(), error) > 0) removedAny = true;
  say(i18n::text(language,
                 removedAny ? "browser.uninstall.extension" : "browser.uninstall.nothing"));
  return status;
}

int browser(const Invocation& invocation) {
  const std::vector<std::string>& args = invocation.args;
  if (!args.empty() && args.front() == "install") {
    return install(std::vector<std::string>(args.begin() + 1, args.end()), invocation.language);
  }
  if (args.size() == 1 && args.front() == "uninstall") return uninstall(invocation.language);
  say(i18n::text(invocation.language, "browser.help"));
  return 2;
}

const Registration registration{Command{"browser", "browser.summary", "browser.help", browser}};

}  // namespace

}  // namespace velto::cli
