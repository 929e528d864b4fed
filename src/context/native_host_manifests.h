// The native messaging host's manifests: which browsers get one, where each browser looks for
// it in the user's folders, and what it says. A manifest names the host program by absolute path
// and the one extension allowed to start it.
//
// Thread: any.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "context/browser_catalog.h"

namespace velto {

// The host's name as browsers know it, and the manifest's file name is this plus ".json".
inline constexpr std::string_view kNativeHostName = "org.velto.browser_host";
// The extension's id in Chromium browsers (fixed by the "key" of its manifest) and in Gecko
// browsers (its browser_specific_settings.gecko.id).
inline constexpr std::string_view kChromiumExtensionId = "ljmnlbmclbljmombdbmepengamlpjdfm";
inline constexpr std::string_view kGeckoExtensionId = "tabs@velto.local";

struct NativeHostBrowser {
  std::string_view key;   // "chromium", as given on the command line and in status JSON
  std::string_view name;  // "Chromium", as shown
  BrowserFamily family;   // chromium or gecko
  // The browser's folder, relative to the config home (Chromium family) or the home folder
  // (Gecko family); the manifest goes in its host folder below.
  std::string_view folder;
  std::string_view hostFolder;  // relative to `folder`
};

// Chromium, Chrome, Brave, Edge, Vivaldi and Firefox, in that order.
std::span<const NativeHostBrowser> nativeHostBrowsers();
// The browser with `key`, or null.
const NativeHostBrowser* nativeHostBrowser(std::string_view key);

// The user's folders a browser's path depends on.
struct UserFolders {
  UserFolders(std::filesystem::path home, std::filesystem::path configHome)
      : home(std::move(home)), configHome(std::move(configHome)) {}

  std::filesystem::path home;
  std::filesystem::path configHome;  // $XDG_CONFIG_HOME, else ~/.config
};

// The folders of this process's user (base/paths.h).
UserFolders currentUserFolders();

// The browsers that have a manifest of Velto's host now, in nativeHostBrowsers() order.
std::vector<const NativeHostBrowser*> browsersWithVeltoHost(const UserFolders& folders);

// The browser's own folder (it exists once the browser has been used).
std::filesystem::path browserFolder(const NativeHostBrowser& browser, const UserFolders& folders);
// Where the browser reads Velto's host manifest.
std::filesystem::path nativeHostManifestPath(const NativeHostBrowser& browser,
                                             const UserFolders& folders);

// The manifest for `browser`, naming `hostProgram` (absolute).
std::string nativeHostManifest(const NativeHostBrowser& browser,
                               const std::filesystem::path& hostProgram);

// The host program a manifest names, when `text` is a manifest of Velto's host; none for
// anything else (so that uninstalling never removes a file Velto did not write).
std::optional<std::filesystem::path> veltoHostProgram(std::string_view text);

}  // namespace velto
