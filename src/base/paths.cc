#include "base/paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace velto::paths {

std::filesystem::path homeDir() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
  if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) {
    return entry->pw_dir;
  }
  return "/tmp";
}

namespace {

// An XDG variable counts only when it holds an absolute path.
std::filesystem::path xdgDir(const char* variable, const char* fallbackUnderHome) {
  if (const char* value = std::getenv(variable); value != nullptr && value[0] == '/') {
    return value;
  }
  return homeDir() / fallbackUnderHome;
}

}  // namespace

std::filesystem::path dataDir() {
  return xdgDir("XDG_DATA_HOME", ".local/share") / "Velto";
}

std::filesystem::path configDir() {
  return xdgDir("XDG_CONFIG_HOME", ".config") / "Velto";
}

std::filesystem::path configHome() {
  return xdgDir("XDG_CONFIG_HOME", ".config");
}

std::filesystem::path sharedDir() {
  if (const char* runtime = std::getenv("XDG_RUNTIME_DIR");
      runtime != nullptr && runtime[0] == '/') {
    return std::filesystem::path(runtime) / "Velto";
  }
  return dataDir() / "shared";
}

}  // namespace velto::paths
