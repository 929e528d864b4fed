#include "cli/command.h"

#include <algorithm>

#include "base/notice_bus.h"
#include "base/strings.h"
#include "settings/settings.h"

namespace velto::cli {

namespace {

std::vector<Command>& registry() {
  static std::vector<Command> all;
  return all;
}

}  // namespace

void registerCommand(Command command) {
  auto& all = registry();
  all.push_back(std::move(command));
  std::sort(all.begin(), all.end(),
            [](const Command& a, const Command& b) { return a.name < b.name; });
}

const std::vector<Command>& commands() {
  return registry();
}

std::string interfaceLanguage(const std::filesystem::path& settingsFile) {
  NoticeBus notices;
  const Settings settings(settingsFile, notices);
  return i18n::resolveLanguage(settings.uiLanguage());
}

bool wantsHelp(const std::vector<std::string>& args) {
  return std::any_of(args.begin(), args.end(),
                     [](const std::string& arg) { return arg == "--help" || arg == "-h"; });
}

}  // namespace velto::cli
