#include "recording/segment_checkpoint.h"

#include <nlohmann/json.hpp>

#include "base/files.h"
#include "base/iso8601.h"
#include "base/log.h"

namespace velto {

std::string encodeCheckpoint(const SegmentCheckpoint& checkpoint) {
  nlohmann::json json = nlohmann::json::object();
  json["context"] = toJson(checkpoint.context);
  json["startedAt"] = secondsSince2001(checkpoint.startedAt);
  json["lastSeen"] = secondsSince2001(checkpoint.lastSeen);
  return json.dump();
}

namespace {

Result<Instant> dateField(const nlohmann::json& json, const char* key) {
  auto found = json.find(key);
  if (found == json.end()) return Error{std::string("checkpoint lacks \"") + key + "\""};
  if (!found->is_number()) return Error{std::string("checkpoint \"") + key + "\" is not a number"};
  if (auto at = instantFromSecondsSince2001Checked(found->get<double>())) return *at;
  return Error{std::string("checkpoint \"") + key + "\" is out of range"};
}

}  // namespace

Result<SegmentCheckpoint> decodeCheckpoint(std::string_view bytes) {
  nlohmann::json json = nlohmann::json::parse(bytes, nullptr, false);
  if (json.is_discarded()) return Error{"checkpoint is not JSON"};
  if (!json.is_object()) return Error{"checkpoint is not an object"};
  auto contextJson = json.find("context");
  if (contextJson == json.end()) return Error{"checkpoint lacks \"context\""};
  Result<ActivityContext> context = activityContextFromJson(*contextJson);
  if (!context) return Error{context.error()};
  Result<Instant> startedAt = dateField(json, "startedAt");
  if (!startedAt) return Error{startedAt.error()};
  Result<Instant> lastSeen = dateField(json, "lastSeen");
  if (!lastSeen) return Error{lastSeen.error()};
  return SegmentCheckpoint{std::move(context).value(), *startedAt, *lastSeen};
}

FileSegmentCheckpoints::FileSegmentCheckpoints(const std::filesystem::path& folder)
    : url_(folder / kFileName) {
  std::error_code error;
  hasFile_ = std::filesystem::exists(url_, error);
}

void FileSegmentCheckpoints::write(const SegmentCheckpoint& checkpoint) {
  Status written = files::writeAtomically(url_, encodeCheckpoint(checkpoint));
  if (!written) {
    log::error("Checkpoint write failed: %{public}s", written.error());
    return;
  }
  hasFile_ = true;
}

void FileSegmentCheckpoints::clear() {
  if (!hasFile_) return;
  (void)files::remove(url_);
  hasFile_ = false;
}

Result<std::string> FileSegmentCheckpoints::read() {
  return files::readAll(url_);
}

}  // namespace velto
