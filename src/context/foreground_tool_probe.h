// Finds the one program (not a shell or wrapper) running under a terminal's process tree, such
// as vim, npm or python3. Reads the process table afresh on each call: only the terminal's
// descendants where the table can list one process's children, else every process.
//
// Thread: callable from any thread, one call at a time per ProcessTable.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "context/process_table.h"

namespace velto {

class ForegroundToolProbe {
 public:
  // Descendants more than this many levels below the terminal are not looked at.
  static constexpr int kMaxDepth = 5;

  // `processes` must outlive the probe.
  explicit ForegroundToolProbe(const ProcessTable& processes) : processes_(processes) {}

  // The program run under `terminalProcessId`, walking down through login shells, shells and
  // wrappers (sudo, env, tmux...). None when no program or more than one distinct program runs
  // there: an ambiguous terminal is not guessed.
  std::optional<std::string> tool(int terminalProcessId) const;

 private:
  const ProcessTable& processes_;
};

// A program's name from its executable path: the last of the final four components that is
// neither a packaging folder ("bin", "versions", "node_modules", "Contents", ...) nor a
// version ("v20.1.0", "1.0.35"); the last component when all four are; none for an empty path.
std::optional<std::string> programNameFromPath(std::string_view path);

}  // namespace velto
