// Today's figures for `velto status --format waybar`, read from the store plus the recorder's
// open segment (its checkpoint), so the module moves on while one stretch is still running.
#pragma once

#include <string>

namespace velto::cli {

// The waybar line for today; `recorderRunning` says whether the checkpoint is live.
std::string waybarStatusLine(const std::string& language, bool recorderRunning);

}  // namespace velto::cli
