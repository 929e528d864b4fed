// Pulls one meaningful name (a project, workspace, document, tool or window) out of a window
// title. Pure functions over UTF-8 text; lengths count characters, never bytes.
//
// Every extraction prepares the title (trims it, removes one leading unsaved or activity marker
// "●", "•" or "*" with the blanks after it, folds each run of white space into one blank), splits
// it into parts on " — ", " – ", " - ", " | ", " · " and " • ", drops the parts that name the
// application itself or are generic, picks a part by its strategy and cleans it to at most
// kMaxCharacters characters plus "…".
//
// Thread: stateless; callable from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

// What a terminal's title says: the working directory's last component, and a tool.
struct TerminalTitle {
  std::optional<std::string> project;
  std::optional<std::string> tool;

  bool operator==(const TerminalTitle&) const = default;
};

class WindowTitleParser {
 public:
  static constexpr int32_t kMaxCharacters = 48;

  // The first remaining part (editors that lead with the project, documents).
  static std::optional<std::string> leading(std::string_view title, std::string_view appName);
  // The last remaining part (editors that end with the folder before their own name).
  static std::optional<std::string> trailing(std::string_view title, std::string_view appName);
  // Chat apps: after a leading unread count such as "(3) ", the first parenthesised text that is
  // not a whole number, else the last remaining part.
  static std::optional<std::string> chat(std::string_view title, std::string_view appName);
  // Applications in no catalog: the first remaining part.
  static std::optional<std::string> window(std::string_view title, std::string_view appName);
  // Terminals: the project is the last component of the first path-like part (a shell prompt
  // "user@host:dir" counts by its directory), the tool the first other part that is not a shell.
  // Without any path-like part there is no project and the tool is the first remaining part.
  static TerminalTitle terminal(std::string_view title, std::string_view appName);

  // The building blocks, exposed for the detail rules and for tests.
  // None when the title is empty after trimming.
  static std::optional<std::string> prepare(std::string_view title);
  static std::vector<std::string> parts(std::string_view title, std::string_view appName);
  // Junk that never becomes a detail: fewer than 2 characters, "new tab", "new window",
  // "untitled…", "no name", "default", "home", "~", a pixel size like "1920 × 1080", or a bare
  // number or version like "2.4.1" (compared lower-cased and trimmed).
  static bool isGeneric(std::string_view value);
  // At most kMaxCharacters characters as is; longer values are cut, at the last blank when it
  // lies at character index 25 or later, and end in "…".
  static std::string clean(std::string_view value);
};

}  // namespace velto
