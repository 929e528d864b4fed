// The installed desktop entries, read from the XDG application folders; which entry belongs to
// a window, and the id that gives it, is context/app_identity's rule.
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

#include "context/app_identity.h"
#include "recording/platform_sources.h"

namespace velto::platform {

using velto::DesktopEntry;

// The [Desktop Entry] group of a desktop file; none when it has no such group, no Name or is
// not of Type=Application.
std::optional<DesktopEntry> parseDesktopEntry(std::string id, std::string_view text);

// The desktop-file id of `file` below the applications folder `root`: the relative path with
// '/' replaced by '-' and ".desktop" removed ("kde4/okular.desktop" -> "kde4-okular").
std::string desktopFileId(const std::filesystem::path& root, const std::filesystem::path& file);

// WM_CLASS property bytes: the instance and the class, each NUL-terminated. None when empty.
std::optional<std::pair<std::string, std::string>> parseWmClass(std::string_view bytes);

// The base name of process `pid`'s executable ("xterm"), one of the names its windows' application
// goes by; empty when it cannot be read.
std::string executableName(int pid);

class DesktopEntryIndex {
 public:
  DesktopEntryIndex() = default;
  explicit DesktopEntryIndex(std::vector<DesktopEntry> entries) : entries_(std::move(entries)) {}

  // $XDG_DATA_HOME/applications, then each $XDG_DATA_DIRS/applications (defaults per the XDG
  // base directory rules); earlier folders win for the same id.
  static std::vector<std::filesystem::path> applicationFolders();
  // Reads every *.desktop file below `folders`; unreadable files are skipped.
  static DesktopEntryIndex load(const std::vector<std::filesystem::path>& folders);

  RunningApplication identify(const WindowNames& window, int pid) const;
  size_t size() const { return entries_.size(); }

 private:
  std::vector<DesktopEntry> entries_;
};

}  // namespace velto::platform
