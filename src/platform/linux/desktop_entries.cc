#include "platform/linux/desktop_entries.h"

#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <system_error>

namespace velto::platform {

namespace {

std::string_view trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) {
    text.remove_suffix(1);
  }
  return text;
}

std::string envOr(const char* name, std::string fallback) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? std::string(value) : std::move(fallback);
}

}  // namespace

std::optional<DesktopEntry> parseDesktopEntry(std::string id, std::string_view text) {
  DesktopEntry entry{std::move(id), {}, {}};
  bool inMainGroup = false;
  bool sawGroup = false;
  std::string type;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    std::string_view line = trim(text.substr(0, end));
    text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    if (line.empty() || line.front() == '#') continue;
    if (line.front() == '[') {
      inMainGroup = line == "[Desktop Entry]";
      sawGroup = sawGroup || inMainGroup;
      continue;
    }
    if (!inMainGroup) continue;
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string_view key = trim(line.substr(0, equals));
    const std::string_view value = trim(line.substr(equals + 1));
    if (key == "Name") {
      entry.name = value;
    } else if (key == "StartupWMClass") {
      entry.startupWmClass = value;
    } else if (key == "Type") {
      type = value;
    }
  }
  if (!sawGroup || entry.name.empty() || (!type.empty() && type != "Application")) {
    return std::nullopt;
  }
  return entry;
}

std::string desktopFileId(const std::filesystem::path& root, const std::filesystem::path& file) {
  std::string id = file.lexically_relative(root).generic_string();
  constexpr std::string_view suffix = ".desktop";
  if (id.size() >= suffix.size() &&
      id.compare(id.size() - suffix.size(), suffix.size(), suffix) == 0) {
    id.resize(id.size() - suffix.size());
  }
  for (char& c : id) {
    if (c == '/') c = '-';
  }
  return id;
}

std::optional<std::pair<std::string, std::string>> parseWmClass(std::string_view bytes) {
  const size_t split = bytes.find('\0');
  std::string instance(bytes.substr(0, split));
  std::string windowClass;
  if (split != std::string_view::npos) {
    std::string_view rest = bytes.substr(split + 1);
    windowClass = std::string(rest.substr(0, rest.find('\0')));
  }
  if (instance.empty() && windowClass.empty()) return std::nullopt;
  if (windowClass.empty()) windowClass = instance;
  return std::make_pair(std::move(instance), std::move(windowClass));
}

std::vector<std::filesystem::path> DesktopEntryIndex::applicationFolders() {
  const std::string home = envOr("HOME", "/");
  std::vector<std::filesystem::path> folders;
  folders.push_back(std::filesystem::path(envOr("XDG_DATA_HOME", home + "/.local/share")) /
                    "applications");
  std::stringstream dirs(envOr("XDG_DATA_DIRS", "/usr/local/share:/usr/share"));
  for (std::string dir; std::getline(dirs, dir, ':');) {
    if (!dir.empty()) folders.push_back(std::filesystem::path(dir) / "applications");
  }
  return folders;
}

DesktopEntryIndex DesktopEntryIndex::load(const std::vector<std::filesystem::path>& folders) {
  std::vector<DesktopEntry> entries;
  std::set<std::string> seen;
  for (const std::filesystem::path& folder : folders) {
    std::error_code error;
    std::filesystem::recursive_directory_iterator it(folder, error), end;
    for (; !error && it != end; it.increment(error)) {
      const std::filesystem::path& file = it->path();
      if (file.extension() != ".desktop") continue;
      std::string id = desktopFileId(folder, file);
      if (seen.count(id) != 0) continue;
      std::ifstream in(file, std::ios::binary);
      if (!in) continue;
      std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
      seen.insert(id);
      if (auto entry = parseDesktopEntry(std::move(id), text)) entries.push_back(std::move(*entry));
    }
  }
  return DesktopEntryIndex(std::move(entries));
}

std::string executableName(int pid) {
  if (pid <= 0) return {};
  std::error_code error;
  const std::filesystem::path exe =
      std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/exe", error);
  return error ? std::string() : exe.filename().string();
}

RunningApplication DesktopEntryIndex::identify(const WindowNames& window, int pid) const {
  return identifyApplication(entries_, window, pid);
}

}  // namespace velto::platform
