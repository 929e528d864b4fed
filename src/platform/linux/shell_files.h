// The desktop shell pieces the recorder ships inside its binary (resources/desktop-shells): the
// KWin script it loads into KWin and the GNOME Shell extension it installs for the user.
//
// Thread: any.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace velto::platform {

struct ShellFile {
  std::string_view path;  // relative to resources/desktop-shells ("kwin/velto-windows.js")
  std::string_view text;
};

// Every shipped file, sorted by path.
const std::vector<ShellFile>& shellFiles();

// The text of the shipped file at `path`; none when there is no such file.
std::optional<std::string_view> shellFile(std::string_view path);

}  // namespace velto::platform
