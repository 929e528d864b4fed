// `velto browser install [BROWSER...] | uninstall`: the browser extension's native messaging
// host for the user's browsers (platform/linux/browser_extension_setup.h).
//
// install writes the extension to <data folder>/browser-extension for the user to load, and the
// host's manifest for each browser named (chromium, chrome, brave, edge, vivaldi, firefox), or
// without names for each of them that has been used here (its folder exists). uninstall removes
// every manifest of Velto's host and the written extension; the extension itself is removed in
// each browser by the user. Nothing else is touched.
#include <cstdio>

#include "base/strings.h"
#include "categories/category_seed_location.h"
#include "cli/command.h"
#include "platform/linux/browser_extension_setup.h"

namespace velto::cli {

namespace {

void say(const std::string& text) {
  std::fputs(text.c_str(), stderr);
  std::fputc('\n', stderr);
}

// Reports each change with `doneKey`; 1 when one failed or nothing could be done.
int tell(const platform::BrowserSetupResult& result, const char* doneKey,
         const std::string& language) {
  if (result.errorKey) {
    say(i18n::text(language, *result.errorKey, result.errorArgument, result.errorDetail));
    return 1;
  }
  int status = 0;
  for (const platform::BrowserManifestChange& change : result.changes) {
    if (!change.status) {
      say(i18n::text(language, "browser.install.failed %@ %@", change.manifest.string(),
                     change.status.error()));
      status = 1;
      continue;
    }
    say(i18n::text(language, doneKey, std::string(change.browser->name), change.manifest.string()));
  }
  return status;
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
  if (names.empty()) targets = platform::usedBrowsers(folders);
  if (targets.empty()) {
    say(i18n::text(language, "browser.install.noneFound"));
    return 1;
  }
  const std::optional<std::filesystem::path> self = currentExecutable();
  const std::filesystem::path host =
      platform::browserHostProgram(self.value_or(std::filesystem::path("velto")));
  const platform::BrowserSetupResult result =
      platform::installBrowserExtension(targets, host, folders);
  const int status = tell(result, "browser.install.wrote %@ %@", language);
  if (!result.errorKey) {
    say(i18n::text(language, "browser.install.extension %@",
                   platform::browserExtensionFolder().string()));
  }
  return status;
}

int uninstall(const std::string& language) {
  const platform::BrowserSetupResult result =
      platform::uninstallBrowserExtension(currentUserFolders());
  const int status = tell(result, "browser.uninstall.removed %@ %@", language);
  const bool removedAny = result.removedExtension || !result.changes.empty();
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
