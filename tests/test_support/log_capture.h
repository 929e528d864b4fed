// Captures log lines for the lifetime of the object (and keeps them off stderr).
#pragma once

#include <string>
#include <vector>

#include "base/log.h"

namespace velto::testing {

class LogCapture {
 public:
  LogCapture() {
    log::setSinks({[this](log::Level, std::string_view line) { lines.emplace_back(line); }});
  }
  ~LogCapture() { log::setSinks({log::stderrSink()}); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  bool contains(const std::string& line) const {
    for (const std::string& seen : lines) {
      if (seen == line) return true;
    }
    return false;
  }

  std::vector<std::string> lines;
};

}  // namespace velto::testing
