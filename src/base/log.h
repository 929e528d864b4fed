// Logging facade. Lines go to every installed sink (stderr by default; the platform layer adds
// the systemd journal). Messages are written exactly as given: callers keep their log lines as
// fixed texts with placeholders and fill them with `fill` (base/text_format.h).
//
// Thread: sinks may be called from any thread; installation happens at start-up.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_format.h"

namespace velto::log {

enum class Level { debug, info, error };

using Sink = std::function<void(Level, std::string_view message)>;

// Replaces all sinks. An empty sink list silences logging.
void setSinks(std::vector<Sink> sinks);
void addSink(Sink sink);
// The default sink: "velto: <message>" on stderr.
Sink stderrSink();

void write(Level level, std::string_view message);

template <typename... Args>
void info(std::string_view pattern, const Args&... args) {
  write(Level::info, fill(pattern, args...));
}
template <typename... Args>
void error(std::string_view pattern, const Args&... args) {
  write(Level::error, fill(pattern, args...));
}
template <typename... Args>
void debug(std::string_view pattern, const Args&... args) {
  write(Level::debug, fill(pattern, args...));
}

}  // namespace velto::log
