#include "context/native_host_manifests.h"

#include <array>
#include <nlohmann/json.hpp>

#include "base/files.h"
#include "base/paths.h"

namespace velto {

namespace {

constexpr std::array kBrowsers{
    NativeHostBrowser{"chromium", "Chromium", BrowserFamily::chromium, "chromium",
                      "NativeMessagingHosts"},
    NativeHostBrowser{"chrome", "Google Chrome", BrowserFamily::chromium, "google-chrome",
                      "NativeMessagingHosts"},
    NativeHostBrowser{"brave", "Brave", BrowserFamily::chromium, "BraveSoftware/Brave-Browser",
                      "NativeMessagingHosts"},
    NativeHostBrowser{"edge", "Microsoft Edge", BrowserFamily::chromium, "microsoft-edge",
                      "NativeMessagingHosts"},
    NativeHostBrowser{"vivaldi", "Vivaldi", BrowserFamily::chromium, "vivaldi",
                      "NativeMessagingHosts"},
    NativeHostBrowser{"firefox", "Firefox", BrowserFamily::gecko, ".mozilla",
                      "native-messaging-hosts"},
};

}  // namespace

std::span<const NativeHostBrowser> nativeHostBrowsers() {
  return kBrowsers;
}

const NativeHostBrowser* nativeHostBrowser(std::string_view key) {
  for (const NativeHostBrowser& browser : kBrowsers) {
    if (browser.key == key) return &browser;
  }
  return nullptr;
}

UserFolders currentUserFolders() {
  return UserFolders(paths::homeDir(), paths::configHome());
}

std::vector<const NativeHostBrowser*> browsersWithVeltoHost(const UserFolders& folders) {
  std::vector<const NativeHostBrowser*> found;
  for (const NativeHostBrowser& browser : kBrowsers) {
    const Result<std::string> text = files::readAll(nativeHostManifestPath(browser, folders));
    if (text && veltoHostProgram(*text)) found.push_back(&browser);
  }
  return found;
}

std::filesystem::path browserFolder(const NativeHostBrowser& browser, const UserFolders& folders) {
  const std::filesystem::path& base =
      browser.family == BrowserFamily::gecko ? folders.home : folders.configHome;
  return base / browser.folder;
}

std::filesystem::path nativeHostManifestPath(const NativeHostBrowser& browser,
                                             const UserFolders& folders) {
  return browserFolder(browser, folders) / browser.hostFolder /
         (std::string(kNativeHostName) + ".json");
}

std::string nativeHostManifest(const NativeHostBrowser& browser,
                               const std::filesystem::path& hostProgram) {
  nlohmann::ordered_json manifest;
  manifest["name"] = kNativeHostName;
  manifest["description"] = "Velto: hands the active tab to the recorder on this computer";
  manifest["path"] = hostProgram.string();
  manifest["type"] = "stdio";
  if (browser.family == BrowserFamily::gecko) {
    manifest["allowed_extensions"] = {kGeckoExtensionId};
  } else {
    manifest["allowed_origins"] = {"chrome-extension://" + std::string(kChromiumExtensionId) + "/"};
  }
  return manifest.dump(2) + "\n";
}

std::optional<std::filesystem::path> veltoHostProgram(std::string_view text) {
  const nlohmann::json manifest = nlohmann::json::parse(text, nullptr, false);
  if (!manifest.is_object()) return std::nullopt;
  const auto name = manifest.find("name");
  const auto path = manifest.find("path");
  if (name == manifest.end() || !name->is_string() || *name != kNativeHostName ||
      path == manifest.end() || !path->is_string()) {
    return std::nullopt;
  }
  return std::filesystem::path(path->get<std::string>());
}

}  // namespace velto
