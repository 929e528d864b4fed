#include "platform/linux/autostart_file.h"

#include <cstdlib>

#include "base/files.h"

namespace velto::platform {

std::filesystem::path AutostartFile::defaultPath() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  std::filesystem::path base;
  if (config != nullptr && *config == '/') {
    base = config;
  } else {
    const char* home = std::getenv("HOME");
    base = std::filesystem::path(home != nullptr ? home : "/") / ".config";
  }
  return base / "autostart" / "velto.desktop";
}

std::string AutostartFile::contents(const std::filesystem::path& program) {
  // Exec quoting: the argument in double quotes, with ", `, $ and \ escaped by a backslash.
  std::string quoted = "\"";
  for (char c : program.string()) {
    if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
    quoted += c;
  }
  quoted += '"';
  return "[Desktop Entry]\nType=Application\nName=Velto\nComment=Screen time recorder\nExec=" +
         quoted + "\nIcon=velto\nTerminal=false\nX-GNOME-Autostart-enabled=true\n";
}

Status AutostartFile::enable(const std::filesystem::path& program) const {
  if (Status made = files::ensureDirectory(file_.parent_path()); !made) return made;
  return files::writeAtomically(file_, contents(program), 0644);
}

Status AutostartFile::disable() const {
  return files::remove(file_);
}

bool AutostartFile::exists() const {
  std::error_code error;
  return std::filesystem::exists(file_, error);
}

}  // namespace velto::platform
