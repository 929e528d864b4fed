// Velto's GNOME Shell extension (resources/desktop-shells/gnome-shell): its files for a Shell
// version, putting them into the user's extensions folder, and what the running Shell knows of
// it over org.gnome.Shell.Extensions.
//
// Thread: the caller's; the bus calls block for at most a few seconds.
#pragma once

#include <systemd/sd-bus.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/result.h"

namespace velto::platform {

inline constexpr const char* kGnomeExtensionUuid = "velto@velto.org";

// The extension's files for GNOME Shell `major` (43 and later): metadata.json and extension.js,
// each as (file name, contents). 43 and 44 load the legacy format, 45 and later ES modules.
std::vector<std::pair<std::string, std::string>> gnomeExtensionFiles(int major);

// $XDG_DATA_HOME/gnome-shell/extensions/velto@velto.org.
std::filesystem::path gnomeExtensionFolder();

// Writes the files for `major` into `folder`, each only when it differs; whether anything
// changed.
Result<bool> installGnomeExtension(const std::filesystem::path& folder, int major);

// The major version of the running Shell (org.gnome.Shell's ShellVersion "45.2" -> 45).
std::optional<int> gnomeShellMajor(sd_bus* bus);

// What the running Shell says of the extension.
enum class GnomeExtensionState {
  unknown,   // the Shell has not read it (installed after the Shell started: log out and in)
  enabled,   // running
  disabled,  // turned off by the user
  failed,    // the Shell could not load it, or it is out of date
};
std::optional<GnomeExtensionState> gnomeExtensionState(sd_bus* bus);

// Asks the Shell to turn the extension on (it also stays on at the next log-in); whether the
// Shell said it did.
bool enableGnomeExtension(sd_bus* bus);

}  // namespace velto::platform
