// Small file operations with failures as values.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/result.h"

namespace velto::files {

// Creates `dir` and its missing parents; folders that this call creates get mode 0700.
Status ensureDirectory(const std::filesystem::path& dir);

// Replaces `path` with `bytes` so that readers see either the old or the new file, never a
// partial one: writes a temporary file beside it with `mode`, fsyncs it, renames it over `path`
// and fsyncs the folder. Creates the folder (0700) when missing.
Status writeAtomically(const std::filesystem::path& path, std::string_view bytes,
                       unsigned mode = 0600);

Result<std::string> readAll(const std::filesystem::path& path);

// Why a path cannot be read as a file.
enum class ReadProblem { missing, folder, notRegularFile, denied, other };

// None when `path` (after symbolic links) is a regular file that this process may open for
// reading. Reads nothing, and never opens what is not a regular file, so a FIFO without a writer
// is reported rather than waited on.
std::optional<ReadProblem> readableFileProblem(const std::filesystem::path& path);

// Removes `path`; a missing file counts as success.
Status remove(const std::filesystem::path& path);

// Error text for the current errno, as the platform words it.
std::string errnoText(int error);

}  // namespace velto::files
