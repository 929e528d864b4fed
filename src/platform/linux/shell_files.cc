#include "platform/linux/shell_files.h"

namespace velto::platform {

std::optional<std::string_view> shellFile(std::string_view path) {
  for (const ShellFile& file : shellFiles()) {
    if (file.path == path) return file.text;
  }
  return std::nullopt;
}

}  // namespace velto::platform
