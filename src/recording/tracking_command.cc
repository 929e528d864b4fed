#include "recording/tracking_command.h"

#include <nlohmann/json.hpp>

#include "base/files.h"
#include "base/iso8601.h"

namespace velto {

bool TrackingCommandRequest::isFreshAt(Instant now) const {
  return secondsBetween(requestedAt, now) < 60.0;
}

std::string encodeTrackingCommand(const TrackingCommandRequest& request) {
  nlohmann::json json = nlohmann::json::object();
  json["paused"] = request.paused;
  json["requestedAt"] = formatIso8601(request.requestedAt);
  if (request.paused && request.until) json["until"] = formatIso8601(*request.until);
  return json.dump();
}

Result<TrackingCommandRequest> decodeTrackingCommand(std::string_view bytes) {
  nlohmann::json json = nlohmann::json::parse(bytes, nullptr, false);
  if (json.is_discarded() || !json.is_object()) return Error{"command is not a JSON object"};
  auto paused = json.find("paused");
  if (paused == json.end() || !paused->is_boolean()) {
    return Error{"command \"paused\" is missing or not a boolean"};
  }
  auto requestedAt = json.find("requestedAt");
  if (requestedAt == json.end() || !requestedAt->is_string()) {
    return Error{"command \"requestedAt\" is missing or not text"};
  }
  std::optional<Instant> at = parseIso8601(requestedAt->get_ref<const std::string&>());
  if (!at) return Error{"command \"requestedAt\" is not an ISO 8601 date-time"};
  TrackingCommandRequest request{paused->get<bool>(), *at, std::nullopt};
  if (auto until = json.find("until"); until != json.end() && request.paused) {
    if (!until->is_string()) return Error{"command \"until\" is not text"};
    request.until = parseIso8601(until->get_ref<const std::string&>());
    if (!request.until) return Error{"command \"until\" is not an ISO 8601 date-time"};
  }
  return request;
}

TrackingCommand::TrackingCommand(std::optional<std::filesystem::path> sharedFolder)
    : folder_(std::move(sharedFolder)) {}

std::optional<std::filesystem::path> TrackingCommand::path() const {
  if (!folder_) return std::nullopt;
  return *folder_ / kFileName;
}

Status TrackingCommand::write(bool paused, Instant now, std::optional<Instant> until) {
  const auto file = path();
  if (!file) return Error{"no shared folder"};
  return files::writeAtomically(*file, encodeTrackingCommand({paused, now, until}));
}

std::optional<TrackingCommandRequest> TrackingCommand::readAndConsume() {
  const auto file = path();
  if (!file) return std::nullopt;
  Result<std::string> bytes = files::readAll(*file);
  if (!bytes) return std::nullopt;
  (void)files::remove(*file);
  return std::move(decodeTrackingCommand(*bytes)).toOptional();
}

}  // namespace velto
