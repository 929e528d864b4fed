#include "store/kept_segments.h"

#include <nlohmann/json.hpp>
#include <system_error>

#include "base/files.h"
#include "base/log.h"
#include "recording/segment_end_reason.h"

namespace velto {

namespace {

using nlohmann::json;

std::int64_t micros(Instant at) {
  return at.time_since_epoch().count();
}

// Any instant from 1970 to 2100, in microseconds.
constexpr std::int64_t kLatestUs = 4102444800LL * 1000000;

Result<Segment> rowFromJson(const json& item) {
  if (!item.is_object()) return Error{"is not an object"};
  Segment row;
  auto text = [&](const char* key) -> Result<std::string> {
    auto found = item.find(key);
    if (found == item.end() || !found->is_string()) {
      return Error{std::string("\"") + key + "\" is missing or not text"};
    }
    return found->get<std::string>();
  };
  auto instant = [&](const char* key) -> Result<Instant> {
    auto found = item.find(key);
    if (found == item.end() || !found->is_number_integer()) {
      return Error{std::string("\"") + key + "\" is missing or not a whole number"};
    }
    const std::int64_t us = found->get<std::int64_t>();
    if (us < 0 || us > kLatestUs) return Error{std::string("\"") + key + "\" is out of range"};
    return Instant(Microseconds(us));
  };
  Result<std::string> id = text("id");
  if (!id) return Error{id.error()};
  std::optional<Uuid> parsedId = Uuid::parse(*id);
  if (!parsedId) return Error{"\"id\" is not an identifier"};
  row.id = *parsedId;
  Result<Instant> started = instant("startedUs");
  if (!started) return Error{started.error()};
  Result<Instant> ended = instant("endedUs");
  if (!ended) return Error{ended.error()};
  if (*ended < *started) return Error{"\"endedUs\" is before \"startedUs\""};
  row.startedAt = *started;
  row.endedAt = *ended;
  auto seconds = item.find("seconds");
  if (seconds == item.end() || !seconds->is_number() || !(seconds->get<double>() >= 0)) {
    return Error{"\"seconds\" is missing or not a number of seconds"};
  }
  row.seconds = seconds->get<double>();
  Result<std::string> reason = text("endReason");
  if (!reason) return Error{reason.error()};
  if (!segmentEndReasonFromRaw(*reason)) return Error{"\"endReason\" is not an end reason"};
  row.endReasonRaw = std::move(reason).value();
  Result<std::string> dayKey = text("dayKey");
  if (!dayKey) return Error{dayKey.error()};
  row.dayKey = std::move(dayKey).value();
  auto contextJson = item.find("context");
  if (contextJson == item.end()) return Error{"\"context\" is missing"};
  Result<ActivityContext> context = activityContextFromJson(*contextJson);
  if (!context) return Error{context.error()};
  row.bundleId = std::move(context->bundleId);
  row.appName = std::move(context->appName);
  row.windowTitle = std::move(context->windowTitle);
  row.host = std::move(context->host);
  row.toolName = std::move(context->toolName);
  row.url = std::move(context->url);
  return row;
}

}  // namespace

std::string encodeKeptSegments(std::span<const Segment> rows) {
  json segments = json::array();
  for (const Segment& row : rows) {
    segments.push_back({{"id", row.id.toString()},
                        {"startedUs", micros(row.startedAt)},
                        {"endedUs", micros(row.endedAt)},
                        {"seconds", row.seconds},
                        {"endReason", row.endReasonRaw},
                        {"dayKey", row.dayKey},
                        {"context", toJson(row.context())}});
  }
  return json{{"segments", std::move(segments)}}.dump();
}

Result<std::vector<Segment>> decodeKeptSegments(std::string_view bytes) {
  json parsed = json::parse(bytes, nullptr, false);
  if (parsed.is_discarded() || !parsed.is_object())
    return Error{"kept segments are not a JSON object"};
  auto segments = parsed.find("segments");
  if (segments == parsed.end() || !segments->is_array()) {
    return Error{"kept segments lack the \"segments\" list"};
  }
  std::vector<Segment> rows;
  rows.reserve(segments->size());
  for (size_t index = 0; index < segments->size(); ++index) {
    Result<Segment> row = rowFromJson((*segments)[index]);
    if (!row) return Error{"kept segment " + std::to_string(index + 1) + ": " + row.error()};
    rows.push_back(std::move(row).value());
  }
  return rows;
}

void KeptSegmentsFile::save(std::span<const Segment> rows) {
  const Status saved =
      rows.empty() ? files::remove(path_) : files::writeAtomically(path_, encodeKeptSegments(rows));
  if (!saved) log::error("Could not write kept segments: %{public}s", saved.error());
}

std::vector<Segment> KeptSegmentsFile::load() {
  std::error_code error;
  if (!std::filesystem::exists(path_, error)) return {};
  Result<std::string> bytes = files::readAll(path_);
  Result<std::vector<Segment>> rows =
      bytes ? decodeKeptSegments(*bytes) : Result<std::vector<Segment>>(Error{bytes.error()});
  if (rows) return std::move(rows).value();
  log::error("Could not read kept segments: %{public}s", rows.error());
  std::filesystem::path aside = path_;
  aside += ".unreadable";
  std::filesystem::rename(path_, aside, error);
  return {};
}

}  // namespace velto
