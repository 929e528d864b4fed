// ProcessTable over Linux /proc: <pid>/stat for the parent and the short name, <pid>/exe for
// the program's path, and <pid>/task/<tid>/children for the children of one process where the
// kernel offers it (a handful of reads instead of one per process of the system). Plain file
// reads; nothing is cached between calls.
#pragma once

#include <filesystem>

#include "context/process_table.h"

namespace velto {

class ProcProcessTable final : public ProcessTable {
 public:
  // `root` is the proc file system; tests pass a folder laid out like it.
  explicit ProcProcessTable(std::filesystem::path root = "/proc") : root_(std::move(root)) {}

  std::vector<ProcessInfo> processes() const override;
  // The target of <pid>/exe, without the " (deleted)" the kernel adds for a replaced program.
  std::optional<std::string> executablePath(int processId) const override;
  // None when the kernel has no children files (built without CONFIG_PROC_CHILDREN).
  std::optional<std::vector<ProcessInfo>> childrenOf(int processId) const override;

 private:
  std::filesystem::path root_;
};

// Parses one <pid>/stat line ("pid (comm) state ppid ..."; comm may hold blanks and
// parentheses). None when it does not have that shape.
std::optional<ProcessInfo> parseProcStat(std::string_view line);

}  // namespace velto
