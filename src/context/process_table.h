// The system's processes, as the terminal tool probe needs them.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velto {

struct ProcessInfo {
  int processId = 0;
  int parentProcessId = 0;
  std::string shortName;  // the kernel's short command name (at most 15 bytes on Linux)

  bool operator==(const ProcessInfo&) const = default;
};

// Thread: implementations may be used from any one thread at a time.
class ProcessTable {
 public:
  virtual ~ProcessTable() = default;
  // Every process of the system; empty when the table cannot be read.
  virtual std::vector<ProcessInfo> processes() const = 0;
  // The path of the program a process runs; none when it cannot be read (another user's
  // process, a kernel thread, a process that has exited).
  virtual std::optional<std::string> executablePath(int processId) const = 0;
  // The direct children of `processId` (empty when it has none or has exited), when the table
  // can tell without listing every process; none when it cannot, and callers use processes().
  virtual std::optional<std::vector<ProcessInfo>> childrenOf(int processId) const {
    (void)processId;
    return std::nullopt;
  }
};

}  // namespace velto
