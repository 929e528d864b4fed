#include "base/log.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <vector>

namespace velto::log {

namespace {

std::mutex& sinkMutex() {
  static std::mutex mutex;
  return mutex;
}

std::vector<Sink>& sinks() {
  static std::vector<Sink> list = {stderrSink()};
  return list;
}

}  // namespace

Sink stderrSink() {
  return [](Level level, std::string_view message) {
    if (level == Level::debug && std::getenv("VELTO_DEBUG") == nullptr) return;
    std::fprintf(stderr, "velto: %.*s\n", static_cast<int>(message.size()), message.data());
  };
}

void setSinks(std::vector<Sink> newSinks) {
  std::lock_guard lock(sinkMutex());
  sinks() = std::move(newSinks);
}

void addSink(Sink sink) {
  std::lock_guard lock(sinkMutex());
  sinks().push_back(std::move(sink));
}

void write(Level level, std::string_view message) {
  std::lock_guard lock(sinkMutex());
  for (const Sink& sink : sinks()) sink(level, message);
}

}  // namespace velto::log
