// Launch at login through the XDG autostart folder: "velto.desktop" in
// $XDG_CONFIG_HOME/autostart (default ~/.config/autostart), starting the given program.
#pragma once

#include <filesystem>

#include "base/result.h"

namespace velto::platform {

class AutostartFile {
 public:
  explicit AutostartFile(std::filesystem::path file) : file_(std::move(file)) {}
  // The session's autostart entry.
  static std::filesystem::path defaultPath();

  // Writes the entry (atomically, creating the folder) so `program` starts with the session.
  Status enable(const std::filesystem::path& program) const;
  // Removes the entry; removing a missing entry is fine.
  Status disable() const;
  bool exists() const;
  const std::filesystem::path& path() const { return file_; }

  // The entry's text for `program` (the path quoted as the Exec key requires).
  static std::string contents(const std::filesystem::path& program);

 private:
  std::filesystem::path file_;
};

}  // namespace velto::platform
