// The `velto` command line. Commands arrive with the features they drive; for now it answers
// --help and --version.
#include <cstdio>
#include <string>
#include <string_view>

#include "base/strings.h"

namespace {

int printHelp(const std::string& language) {
  std::fputs(velto::i18n::text(language, "cli.help").c_str(), stdout);
  std::fputc('\n', stdout);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string language = velto::i18n::resolveLanguage("auto");
  if (argc < 2) return printHelp(language);
  const std::string_view command = argv[1];
  if (command == "--help" || command == "-h" || command == "help") return printHelp(language);
  if (command == "--version") {
    std::printf("velto %s\n", VELTO_VERSION);
    return 0;
  }
  std::fputs(velto::i18n::text(language, "cli.unknownCommand %@", std::string(command)).c_str(),
             stderr);
  std::fputc('\n', stderr);
  return 2;
}
