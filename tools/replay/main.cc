// velto-replay [--tz ZONE] [--data-dir DIR] < events.jsonl > recorded.jsonl
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "base/log.h"
#include "replay.h"

namespace {

void usage() {
  std::cerr << "usage: velto-replay [--tz ZONE] [--data-dir DIR] < events.jsonl\n"
               "Runs the recorder over scripted desktop events on a virtual clock and prints\n"
               "every recorded segment and away stretch as JSON Lines.\n";
}

}  // namespace

int main(int argc, char** argv) {
  velto::replay::Options options;
  const char* tz = std::getenv("TZ");
  options.zone = tz != nullptr && *tz != '\0' ? (tz[0] == ':' ? tz + 1 : tz) : "UTC";
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      usage();
      return 0;
    }
    if (arg == "--tz" && i + 1 < argc) {
      options.zone = argv[++i];
      continue;
    }
    if (arg == "--data-dir" && i + 1 < argc) {
      options.dataFolder = argv[++i];
      continue;
    }
    std::cerr << "velto-replay: unknown option " << arg << "\n";
    usage();
    return 2;
  }
  // The replay's zone is the session's for everything it runs.
  setenv("TZ", options.zone.c_str(), 1);
  velto::log::setSinks({});  // stdout carries the record; log lines would only add noise
  return velto::replay::run(options, std::cin, std::cout, std::cerr);
}
