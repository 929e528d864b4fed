// Where Velto keeps its files, following the XDG base directories.
//
// dataDir:       $XDG_DATA_HOME/Velto   (store, checkpoint)       default ~/.local/share/Velto
// configDir:     $XDG_CONFIG_HOME/Velto (settings.json)           default ~/.config/Velto
// sharedDir:     $XDG_RUNTIME_DIR/Velto (command file, snapshot)  fallback <dataDir>/shared
// None of these creates the folder; use ensureDirectory (base/files.h).
#pragma once

#include <filesystem>

namespace velto::paths {

std::filesystem::path dataDir();
std::filesystem::path configDir();
std::filesystem::path sharedDir();
// $HOME (else the password database's home folder), and $XDG_CONFIG_HOME (else ~/.config).
std::filesystem::path homeDir();
std::filesystem::path configHome();

}  // namespace velto::paths
