#include "context/foreground_tool_probe.h"

#include <array>
#include <set>
#include <span>
#include <unordered_map>
#include <vector>

#include "context/unicode_text.h"

namespace velto {

namespace {

bool isOneOf(std::string_view value, std::span<const std::string_view> list) {
  for (std::string_view item : list) {
    if (item == value) return true;
  }
  return false;
}

constexpr std::string_view kWrappers[] = {
    "login", "zsh", "bash", "fish",         "sh",     "dash",       "csh",
    "tcsh",  "ksh", "tmux", "tmux: server", "screen", "zellij",     "script",
    "sudo",  "su",  "env",  "nice",         "time",   "caffeinate", "watch"};

constexpr std::string_view kPackagingFolders[] = {
    "versions", "version", "bin",          "sbin", "libexec", "contents", "macos",
    "current",  "latest",  "node_modules", ".bin", "release", "debug"};

bool isAsciiDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isAsciiLowerAlnum(char c) {
  return isAsciiDigit(c) || (c >= 'a' && c <= 'z');
}

// "^v?[0-9]+([._-][0-9a-z]+)*$" on a lower-cased component.
bool isVersion(std::string_view lower) {
  size_t i = 0;
  if (i < lower.size() && lower[i] == 'v') ++i;
  const size_t digits = i;
  while (i < lower.size() && isAsciiDigit(lower[i])) ++i;
  if (i == digits) return false;
  while (i < lower.size()) {
    if (lower[i] != '.' && lower[i] != '_' && lower[i] != '-') return false;
    const size_t run = ++i;
    while (i < lower.size() && isAsciiLowerAlnum(lower[i])) ++i;
    if (i == run) return false;
  }
  return true;
}

class Walk {
 public:
  explicit Walk(const ProcessTable& table) : table_(table) {}

  void visit(int processId, int depth) {
    if (depth > ForegroundToolProbe::kMaxDepth || found_.size() > 1) return;
    for (const ProcessInfo& child : childrenOf(processId)) {
      if (found_.size() > 1) return;               // ambiguous already; the answer cannot change
      if (child.processId == processId) continue;  // the scheduler's own entry on some systems
      std::string name;
      if (std::optional<std::string> path = table_.executablePath(child.processId)) {
        name = programNameFromPath(*path).value_or("");
      }
      if (name.empty()) name = child.shortName;
      if (name.starts_with('-')) name.erase(0, 1);
      if (name.empty() || isOneOf(text::lowerCased(name), kWrappers)) {
        visit(child.processId, depth + 1);
      } else {
        found_.insert(std::move(name));
      }
    }
  }

  std::optional<std::string> answer() const {
    if (found_.size() != 1) return std::nullopt;
    return *found_.begin();
  }

 private:
  // Asks the table for one process's children while it can answer that; otherwise lists every
  // process once and answers from a map of parent to children.
  std::vector<ProcessInfo> childrenOf(int processId) {
    if (!listed_) {
      if (std::optional<std::vector<ProcessInfo>> direct = table_.childrenOf(processId)) {
        return std::move(*direct);
      }
      for (ProcessInfo& process : table_.processes()) {
        const int parent = process.parentProcessId;
        byParent_[parent].push_back(std::move(process));
      }
      listed_ = true;
    }
    auto found = byParent_.find(processId);
    return found == byParent_.end() ? std::vector<ProcessInfo>{} : found->second;
  }

  const ProcessTable& table_;
  bool listed_ = false;
  std::unordered_map<int, std::vector<ProcessInfo>> byParent_;
  std::set<std::string> found_;
};

}  // namespace

std::optional<std::string> ForegroundToolProbe::tool(int terminalProcessId) const {
  Walk walk(processes_);
  walk.visit(terminalProcessId, 0);
  return walk.answer();
}

std::optional<std::string> programNameFromPath(std::string_view path) {
  std::vector<std::string_view> components;
  size_t start = 0;
  while (start <= path.size()) {
    const size_t slash = path.find('/', start);
    const size_t end = slash == std::string_view::npos ? path.size() : slash;
    if (end > start) components.push_back(path.substr(start, end - start));
    if (slash == std::string_view::npos) break;
    start = slash + 1;
  }
  if (components.empty()) return std::nullopt;
  const size_t first = components.size() > 4 ? components.size() - 4 : 0;
  for (size_t i = components.size(); i-- > first;) {
    const std::string lower = text::lowerCased(components[i]);
    if (isOneOf(lower, kPackagingFolders) || isVersion(lower)) continue;
    return std::string(components[i]);
  }
  return std::string(components.back());
}

}  // namespace velto
