// Shell completions (bash, zsh, fish) and the manual page, written from the command table that
// `velto --help` shows, so that a command, subcommand or option appears in all of them at once.
// Descriptions are the catalog texts in `language`.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "cli/command.h"

namespace velto::cli {

std::string bashCompletion(std::span<const Command> commands);
std::string zshCompletion(std::span<const Command> commands, std::string_view language);
std::string fishCompletion(std::span<const Command> commands, std::string_view language);
// velto.1 in man(7) markup: the overview of `velto --help`, then each command's help.
std::string manPage(std::span<const Command> commands, std::string_view language,
                    std::string_view version);

}  // namespace velto::cli
