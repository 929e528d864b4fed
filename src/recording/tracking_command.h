// The pause/resume command that other programs (status-bar widgets, `velto pause`, keyboard
// shortcuts) leave for the running recorder: "tracking-command.json" in the shared folder.
//
// File format (fixed; other programs write it):
//   {"paused": true|false, "requestedAt": "2026-11-14T21:40:00Z"}
// and optionally "until" (ISO 8601) with "paused": true: a pause that ends by itself then.
// Readers that do not know "until" treat the command as an open-ended pause.
// There is one slot: a newer command replaces an unread older one. The writer's atomic rename
// is the signal; the recorder watches the folder.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/result.h"
#include "base/time.h"

namespace velto {

struct TrackingCommandRequest {
  bool paused = false;
  Instant requestedAt;
  std::optional<Instant> until = std::nullopt;  // a timed pause's end; only with paused

  bool operator==(const TrackingCommandRequest&) const = default;

  // A command is applied only when it was written less than 60 s before `now`; one stamped in
  // the future (the writer's clock runs ahead) counts as fresh.
  bool isFreshAt(Instant now) const;
};

std::string encodeTrackingCommand(const TrackingCommandRequest& request);
Result<TrackingCommandRequest> decodeTrackingCommand(std::string_view bytes);

class TrackingCommand {
 public:
  static constexpr const char* kFileName = "tracking-command.json";

  // `sharedFolder` absent: there is no shared folder, and commands are neither written nor read.
  explicit TrackingCommand(std::optional<std::filesystem::path> sharedFolder);

  // Leaves a command stamped `now`. Callers treat failure as silent; it is returned for tests
  // and for the command line, which reports it.
  Status write(bool paused, Instant now, std::optional<Instant> until = std::nullopt);

  // Reads the command and removes the file before decoding it, so a command is applied at most
  // once. None when there is no file, it cannot be read, or it does not decode.
  std::optional<TrackingCommandRequest> readAndConsume();

  std::optional<std::filesystem::path> path() const;

 private:
  std::optional<std::filesystem::path> folder_;
};

}  // namespace velto
