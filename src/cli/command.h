// The `velto` command line: one Command per file, registered at start-up, so commands can be
// added without touching the dispatcher.
//
// Output conventions: data goes to stdout (as JSON with --json where a command prints data),
// messages and progress to stderr. Exit status: 0 success, 1 failure, 2 bad usage.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velto::cli {

struct Invocation {
  std::vector<std::string> args;  // after the command name
  std::string language;           // interface language for every text shown
};

struct Command {
  Command(std::string name, std::string summaryKey, std::string helpKey,
          std::function<int(const Invocation&)> run, std::vector<std::string> words = {})
      : name(std::move(name)),
        summaryKey(std::move(summaryKey)),
        helpKey(std::move(helpKey)),
        run(std::move(run)),
        words(std::move(words)) {}

  std::string name;        // "export"
  std::string summaryKey;  // catalog key of the one-line summary shown by `velto --help`
  std::string helpKey;     // catalog key of the text shown by `velto <name> --help`
  std::function<int(const Invocation&)> run;
  // What shells complete after the name: its subcommands first, then its options. The
  // completions and the manual page are written from this table.
  std::vector<std::string> words;
};

// Adds a command; call from a static Registration in the command's own file.
void registerCommand(Command command);
const std::vector<Command>& commands();

struct Registration {
  explicit Registration(Command command) { registerCommand(std::move(command)); }
};

// The interface language the user chose in `settingsFile` ("velto.uiLanguage"); the session's
// language only when the setting is absent or "auto".
std::string interfaceLanguage(const std::filesystem::path& settingsFile);

// True when `args` asks for help (--help or -h anywhere).
bool wantsHelp(const std::vector<std::string>& args);

}  // namespace velto::cli
