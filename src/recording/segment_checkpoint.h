// The checkpoint of the open segment, "open-segment.json" in the data folder, so that a crash
// or power loss costs at most one heartbeat of recording.
//
// File format (field names and date coding are fixed; other versions of the program read it):
//   {"context": {"bundleId": ..., "appName": ..., optional "windowTitle", "host", "toolName",
//    "url"}, "startedAt": <seconds since 2001-01-01 UTC>, "lastSeen": <same>}
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "base/result.h"
#include "base/time.h"
#include "recording/activity_context.h"

namespace velto {

struct SegmentCheckpoint {
  ActivityContext context;
  Instant startedAt;
  Instant lastSeen;

  bool operator==(const SegmentCheckpoint&) const = default;
};

std::string encodeCheckpoint(const SegmentCheckpoint& checkpoint);
Result<SegmentCheckpoint> decodeCheckpoint(std::string_view bytes);

// Where the recorder keeps its checkpoint. Main thread only.
class SegmentCheckpoints {
 public:
  virtual ~SegmentCheckpoints() = default;
  // Replaces the checkpoint; a failure is logged and otherwise ignored.
  virtual void write(const SegmentCheckpoint& checkpoint) = 0;
  // Removes the checkpoint if one is believed to exist; failures are ignored.
  virtual void clear() = 0;
  // The stored bytes; an error when there is no checkpoint or it cannot be read.
  virtual Result<std::string> read() = 0;
};

class FileSegmentCheckpoints final : public SegmentCheckpoints {
 public:
  static constexpr const char* kFileName = "open-segment.json";

  // `folder` is the data folder; the file is folder/open-segment.json.
  explicit FileSegmentCheckpoints(const std::filesystem::path& folder);

  void write(const SegmentCheckpoint& checkpoint) override;
  void clear() override;
  Result<std::string> read() override;

  const std::filesystem::path& url() const { return url_; }
  bool hasFile() const { return hasFile_; }

 private:
  std::filesystem::path url_;
  bool hasFile_;
};

}  // namespace velto
