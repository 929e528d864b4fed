// Application identity on X11: the desktop entry that belongs to a window's WM_CLASS.
//
// bundleId is the desktop-file id without ".desktop" when an entry matches the window (its
// StartupWMClass, else its file name, equals the class or the instance, ignoring case), else
// the class lower-cased; appName is the entry's Name, else the class.
//
// Thread: any; an index is not shared between threads.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "recording/platform_sources.h"

namespace velto::platform {

struct DesktopEntry {
  std::string id;              // "org.gnome.Terminal" (file id without ".desktop")
  std::string name;            // Name= of [Desktop Entry], unlocalised
  std::string startupWmClass;  // StartupWMClass=, may be empty
};

// The [Desktop Entry] group of a desktop file; none when it has no such group, no Name or is
// not of Type=Application.
std::optional<DesktopEntry> parseDesktopEntry(std::string id, std::string_view text);

// The desktop-file id of `file` below the applications folder `root`: the relative path with
// '/' replaced by '-' and ".desktop" removed ("kde4/okular.desktop" -> "kde4-okular").
std::string desktopFileId(const std::filesystem::path& root, const std::filesystem::path& file);

// WM_CLASS property bytes: the instance and the class, each NUL-terminated. None when empty.
std::optional<std::pair<std::string, std::string>> parseWmClass(std::string_view bytes);

class DesktopEntryIndex {
 public:
  DesktopEntryIndex() = default;
  explicit DesktopEntryIndex(std::vector<DesktopEntry> entries) : entries_(std::move(entries)) {}

  // $XDG_DATA_HOME/applications, then each $XDG_DATA_DIRS/applications (defaults per the XDG
  // base directory rules); earlier folders win for the same id.
  static std::vector<std::filesystem::path> applicationFolders();
  // Reads every *.desktop file below `folders`; unreadable files are skipped.
  static DesktopEntryIndex load(const std::vector<std::filesystem::path>& folders);

  const DesktopEntry* match(std::string_view instance, std::string_view windowClass) const;
  RunningApplication identify(std::string_view instance, std::string_view windowClass,
                              int pid) const;
  size_t size() const { return entries_.size(); }

 private:
  std::vector<DesktopEntry> entries_;
};

}  // namespace velto::platform
