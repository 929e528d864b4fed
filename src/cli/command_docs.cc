#include "cli/command_docs.h"

#include "base/strings.h"

namespace velto::cli {

namespace {

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& word : words) out += (out.empty() ? "" : " ") + word;
  return out;
}

// Inside single quotes for a shell: a quote becomes '\''.
std::string singleQuoted(std::string_view text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// A zsh _describe entry, "name:description", with the colons of the description escaped.
std::string describeEntry(std::string_view name, std::string_view description) {
  std::string out(name);
  out += ':';
  for (char c : description) {
    if (c == ':') out += '\\';
    out += c;
  }
  return singleQuoted(out);
}

// Text for man(7): backslashes doubled, a line never starting with a control character.
std::string roff(std::string_view text) {
  std::string out;
  bool lineStart = true;
  for (char c : text) {
    if (lineStart && (c == '.' || c == '\'')) out += "\\&";
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
    lineStart = c == '\n';
  }
  return out;
}

}  // namespace

std::string bashCompletion(std::span<const Command> commands) {
  std::string names = "--help --version";
  for (const Command& command : commands) names += " " + command.name;
  std::string out =
      "# bash completion for velto, written by `velto completions bash`\n"
      "_velto() {\n"
      "  local cur=${COMP_WORDS[COMP_CWORD]}\n"
      "  if [[ $COMP_CWORD -eq 1 ]]; then\n"
      "    COMPREPLY=($(compgen -W \"" +
      names +
      "\" -- \"$cur\"))\n"
      "    return\n"
      "  fi\n"
      "  local words=\"--help\"\n"
      "  case ${COMP_WORDS[1]} in\n";
  for (const Command& command : commands) {
    if (command.words.empty()) continue;
    out += "    " + command.name + ") words=\"" + joined(command.words) + " --help\" ;;\n";
  }
  out +=
      "  esac\n"
      "  COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
      "}\n"
      "complete -F _velto velto\n";
  return out;
}

std::string zshCompletion(std::span<const Command> commands, std::string_view language) {
  std::string out =
      "#compdef velto\n"
      "# zsh completion for velto, written by `velto completions zsh`\n"
      "local -a commands words\n"
      "commands=(\n";
  for (const Command& command : commands) {
    out += "  " + describeEntry(command.name, i18n::text(language, command.summaryKey)) + "\n";
  }
  out +=
      ")\n"
      "if (( CURRENT == 2 )); then\n"
      "  _describe command commands\n"
      "  return\n"
      "fi\n"
      "case $words[2] in\n";
  for (const Command& command : commands) {
    if (command.words.empty()) continue;
    out += "  " + command.name + ") words=(" + joined(command.words) + " --help) ;;\n";
  }
  out +=
      "  *) words=(--help) ;;\n"
      "esac\n"
      "compadd -a words\n";
  return out;
}

std::string fishCompletion(std::span<const Command> commands, std::string_view language) {
  std::string out =
      "# fish completion for velto, written by `velto completions fish`\n"
      "complete -c velto -f\n"
      "complete -c velto -n __fish_use_subcommand -l help\n"
      "complete -c velto -n __fish_use_subcommand -l version\n";
  for (const Command& command : commands) {
    out += "complete -c velto -n __fish_use_subcommand -a " + command.name + " -d " +
           singleQuoted(i18n::text(language, command.summaryKey)) + "\n";
    std::vector<std::string> plain;
    for (const std::string& word : command.words) {
      if (word.starts_with("--")) {
        out += "complete -c velto -n '__fish_seen_subcommand_from " + command.name + "' -l " +
               word.substr(2) + "\n";
      } else {
        plain.push_back(word);
      }
    }
    if (!plain.empty()) {
      out += "complete -c velto -n '__fish_seen_subcommand_from " + command.name + "' -a " +
             singleQuoted(joined(plain)) + "\n";
    }
  }
  return out;
}

std::string manPage(std::span<const Command> commands, std::string_view language,
                    std::string_view version) {
  std::string out = ".TH VELTO 1 \"\" \"velto " + std::string(version) +
                    "\" \"User Commands\"\n"
                    ".SH NAME\n"
                    "velto \\- records the time in front of the computer, on this computer\n"
                    ".SH SYNOPSIS\n"
                    ".B velto\n"
                    "[\\fIcommand\\fR] [\\fIoptions\\fR]\n"
                    ".SH DESCRIPTION\n"
                    ".nf\n" +
                    roff(i18n::text(language, "cli.help")) +
                    "\n.fi\n"
                    ".SH COMMANDS\n";
  for (const Command& command : commands) {
    out += ".SS " + command.name + "\n" + roff(i18n::text(language, command.summaryKey)) +
           "\n.PP\n.nf\n" + roff(i18n::text(language, command.helpKey)) + "\n.fi\n";
  }
  out +=
      ".SH FILES\n"
      ".TP\n"
      ".I $XDG_CONFIG_HOME/Velto/settings.json\n"
      "settings\n"
      ".TP\n"
      ".I $XDG_DATA_HOME/Velto/Velto.sqlite\n"
      "recorded time and category rules\n";
  return out;
}

}  // namespace velto::cli
