// velto-replay: runs the real service set (engine, recorder, resolver, store) over a scripted
// desktop on virtual time. Reads JSON Lines events, writes JSON Lines of what was recorded.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

namespace velto::replay {

struct Options {
  std::string zone;                                 // IANA zone
  std::optional<std::filesystem::path> dataFolder;  // none: a temporary folder, removed after
};

// Returns the process exit status: 0, or 2 for a malformed line (named on `errors`).
int run(const Options& options, std::istream& input, std::ostream& output, std::ostream& errors);

}  // namespace velto::replay
