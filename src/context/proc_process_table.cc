#include "context/proc_process_table.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <memory>

namespace velto {

namespace {

std::optional<int> parsePid(std::string_view text) {
  int value = 0;
  const char* end = text.data() + text.size();
  auto [ptr, ec] = std::from_chars(text.data(), end, value);
  if (ec != std::errc() || ptr != end || value < 0) return std::nullopt;
  return value;
}

// The first bytes of a small proc file; the fields we need lie well within them.
std::optional<std::string> readHead(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  char buffer[512];
  ssize_t got;
  do {
    got = ::read(fd, buffer, sizeof buffer);
  } while (got < 0 && errno == EINTR);
  ::close(fd);
  if (got <= 0) return std::nullopt;
  return std::string(buffer, static_cast<size_t>(got));
}

// The whole of a proc file of any length.
std::optional<std::string> readWhole(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  std::string content;
  char buffer[4096];
  while (true) {
    const ssize_t got = ::read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    content.append(buffer, static_cast<size_t>(got));
  }
  ::close(fd);
  return content;
}

// The numeric entries of a folder; none when it cannot be opened.
std::optional<std::vector<std::string>> numericEntries(const std::string& folder) {
  std::unique_ptr<DIR, int (*)(DIR*)> dir(::opendir(folder.c_str()), &::closedir);
  if (!dir) return std::nullopt;
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(dir.get())) {
    if (parsePid(entry->d_name)) names.emplace_back(entry->d_name);
  }
  return names;
}

}  // namespace

std::optional<ProcessInfo> parseProcStat(std::string_view line) {
  const size_t open = line.find(" (");
  const size_t close = line.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open + 2) {
    return std::nullopt;
  }
  ProcessInfo info;
  const std::optional<int> pid = parsePid(line.substr(0, open));
  if (!pid) return std::nullopt;
  info.processId = *pid;
  info.shortName = std::string(line.substr(open + 2, close - open - 2));
  // After ") " come the state (one word) and the parent's id.
  std::string_view rest = line.substr(close + 1);
  const size_t stateStart = rest.find_first_not_of(' ');
  if (stateStart == std::string_view::npos) return std::nullopt;
  rest.remove_prefix(stateStart);
  const size_t stateEnd = rest.find(' ');
  if (stateEnd == std::string_view::npos) return std::nullopt;
  rest.remove_prefix(stateEnd + 1);
  const std::optional<int> parent = parsePid(rest.substr(0, rest.find(' ')));
  if (!parent) return std::nullopt;
  info.parentProcessId = *parent;
  return info;
}

std::vector<ProcessInfo> ProcProcessTable::processes() const {
  std::vector<ProcessInfo> result;
  const std::string prefix = root_.string() + "/";
  for (const std::string& pid :
       numericEntries(root_.string()).value_or(std::vector<std::string>{})) {
    const std::optional<std::string> stat = readHead(prefix + pid + "/stat");
    if (!stat) continue;  // exited meanwhile
    if (std::optional<ProcessInfo> info = parseProcStat(*stat)) result.push_back(std::move(*info));
  }
  return result;
}

std::optional<std::vector<ProcessInfo>> ProcProcessTable::childrenOf(int processId) const {
  const std::string process = root_.string() + "/" + std::to_string(processId);
  const std::optional<std::vector<std::string>> tasks = numericEntries(process + "/task");
  if (!tasks) {
    // Without a task folder: an exited process has no children; otherwise we cannot tell.
    if (::access(process.c_str(), F_OK) != 0) return std::vector<ProcessInfo>{};
    return std::nullopt;
  }
  // A child belongs to the thread that forked it, so every thread's list counts.
  std::vector<int> childIds;
  bool anyList = false;
  for (const std::string& task : *tasks) {
    const std::optional<std::string> list = readWhole(process + "/task/" + task + "/children");
    if (!list) continue;
    anyList = true;
    std::string_view rest = *list;
    while (true) {
      const size_t start = rest.find_first_not_of(" \n");
      if (start == std::string_view::npos) break;
      rest.remove_prefix(start);
      const size_t end = std::min(rest.find_first_of(" \n"), rest.size());
      if (std::optional<int> child = parsePid(rest.substr(0, end))) childIds.push_back(*child);
      rest.remove_prefix(end);
    }
  }
  if (!anyList && !tasks->empty()) return std::nullopt;

  std::vector<ProcessInfo> children;
  for (int child : childIds) {
    const std::optional<std::string> stat =
        readHead(root_.string() + "/" + std::to_string(child) + "/stat");
    if (!stat) continue;  // exited meanwhile
    if (std::optional<ProcessInfo> info = parseProcStat(*stat))
      children.push_back(std::move(*info));
  }
  return children;
}

std::optional<std::string> ProcProcessTable::executablePath(int processId) const {
  const std::string link = root_.string() + "/" + std::to_string(processId) + "/exe";
  char buffer[PATH_MAX];
  const ssize_t size = ::readlink(link.c_str(), buffer, sizeof buffer);
  if (size <= 0 || static_cast<size_t>(size) >= sizeof buffer) return std::nullopt;
  std::string path(buffer, static_cast<size_t>(size));
  constexpr std::string_view kDeleted = " (deleted)";
  if (path.ends_with(kDeleted)) path.resize(path.size() - kDeleted.size());
  return path;
}

}  // namespace velto
