// A checkpoint kept in memory: survives an engine (as the file survives a crash) without the
// cost of a synced file per virtual heartbeat.
#pragma once

#include <optional>
#include <string>

#include "recording/segment_checkpoint.h"

namespace velto::testing {

class MemoryCheckpoints final : public SegmentCheckpoints {
 public:
  void write(const SegmentCheckpoint& checkpoint) override { bytes = encodeCheckpoint(checkpoint); }
  void clear() override { bytes.reset(); }
  Result<std::string> read() override {
    if (!bytes) return Error{"no checkpoint"};
    return *bytes;
  }
  std::optional<std::string> bytes;
};

}  // namespace velto::testing
