// The `velto` command line: `velto <command> [options]`; `velto --help` lists the commands.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/strings.h"
#include "cli/command.h"
#include "platform/linux/journal_log_sink.h"
#include "settings/settings.h"

namespace {

void print(std::FILE* out, const std::string& text) {
  std::fputs(text.c_str(), out);
  std::fputc('\n', out);
}

int printHelp(const std::string& language) {
  print(stdout, velto::i18n::text(language, "cli.help"));
  if (!velto::cli::commands().empty()) {
    print(stdout, "\n" + velto::i18n::text(language, "cli.commands"));
    for (const velto::cli::Command& command : velto::cli::commands()) {
      std::string name = command.name;
      name.resize(std::max<size_t>(name.size(), 12), ' ');
      print(stdout, "  " + name + " " + velto::i18n::text(language, command.summaryKey));
    }
  }
  return 0;
}

// Plain `velto` is the desktop application, a program of its own beside this one so that the
// recorder and the commands never load the GUI libraries. Returns only when it cannot start.
void startDesktopApplication(char** argv, const std::string& language) {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path application =
      (error ? std::filesystem::path(argv[0]) : self).parent_path() / "velto-gui";
  ::execv(application.c_str(), argv);
  print(stderr, velto::i18n::text(language, "cli.noDesktopApplication %@ %@", application.string(),
                                  std::string(std::strerror(errno))));
}

}  // namespace

int main(int argc, char** argv) {
  velto::platform::installLogSinks();
  const std::string language = velto::cli::interfaceLanguage(velto::Settings::defaultPath());
  if (argc < 2) {
    startDesktopApplication(argv, language);
    return 1;
  }
  const std::string_view first = argv[1];
  if (first == "--help" || first == "-h" || first == "help") return printHelp(language);
  if (first == "--version") {
    std::printf("velto %s\n", VELTO_VERSION);
    return 0;
  }
  for (const velto::cli::Command& command : velto::cli::commands()) {
    if (command.name != first) continue;
    velto::cli::Invocation invocation{{argv + 2, argv + argc}, language};
    if (velto::cli::wantsHelp(invocation.args)) {
      print(stdout, velto::i18n::text(language, command.helpKey));
      return 0;
    }
    return command.run(invocation);
  }
  print(stderr, velto::i18n::text(language, "cli.unknownCommand %@", std::string(first)));
  return 2;
}
