// Segments the store could not take yet, kept on disk until it does, "kept-segments.json" in the
// data folder. Covers the stretch between a failed insert (another process holding the store past
// the busy wait, a full disk) and the insert that succeeds: a recorder killed meanwhile stores
// them at its next start. The open segment has its own checkpoint; this file holds only finished
// rows, ids included, so storing them twice is recognised.
//
// File format: {"segments": [{"id": "<uuid>", "startedUs": <µs since 1970 UTC>, "endedUs": ...,
//   "seconds": <number>, "endReason": "<raw value>", "dayKey": "yyyy-MM-dd",
//   "context": {<as in the checkpoint>}}, ...]}, oldest first.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "store/segment.h"

namespace velto {

std::string encodeKeptSegments(std::span<const Segment> rows);
// The rows, oldest first; an error naming the record and field for anything malformed.
Result<std::vector<Segment>> decodeKeptSegments(std::string_view bytes);

// Main thread only.
class KeptSegmentsFile {
 public:
  static constexpr const char* kFileName = "kept-segments.json";

  // `folder` is the data folder.
  explicit KeptSegmentsFile(const std::filesystem::path& folder) : path_(folder / kFileName) {}

  // Replaces the file with `rows` (atomically), or removes it when `rows` is empty. A failure is
  // logged and otherwise ignored: the rows are still held in memory.
  void save(std::span<const Segment> rows);
  // What an earlier run kept; empty when there is no file. A file that cannot be read is logged
  // and moved aside to "kept-segments.json.unreadable", so it is neither lost nor read again.
  std::vector<Segment> load();

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace velto
