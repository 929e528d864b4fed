// `velto completions bash|zsh|fish` and `velto manpage`: the shell completions and velto.1,
// written from the command table (the install step keeps them next to the program).
#include <cstdio>

#include "base/strings.h"
#include "cli/command.h"
#include "cli/command_docs.h"
#include "cli/commands/command_support.h"

#ifndef VELTO_VERSION
#define VELTO_VERSION "dev"
#endif

namespace velto::cli {

namespace {

void print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
}

int runCompletions(const Invocation& invocation) {
  const std::vector<std::string>& args = invocation.args;
  const std::string shell = args.size() == 1 ? args.front() : std::string();
  if (shell == "bash") {
    print(bashCompletion(commands()));
  } else if (shell == "zsh") {
    print(zshCompletion(commands(), invocation.language));
  } else if (shell == "fish") {
    print(fishCompletion(commands(), invocation.language));
  } else {
    complain(i18n::text(invocation.language, "cli.completions.usage"));
    return kBadUsage;
  }
  return kDone;
}

int runManPage(const Invocation& invocation) {
  if (!invocation.args.empty()) {
    complain(i18n::text(invocation.language, "cli.manpage.usage"));
    return kBadUsage;
  }
  print(manPage(commands(), invocation.language, VELTO_VERSION));
  return kDone;
}

const Registration completions(Command{"completions",
                                       "cli.completions.summary",
                                       "cli.completions.help",
                                       runCompletions,
                                       {"bash", "zsh", "fish"}});
const Registration manual(Command{"manpage", "cli.manpage.summary", "cli.manpage.help",
                                  runManPage});

}  // namespace

}  // namespace velto::cli
