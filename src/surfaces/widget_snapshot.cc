#include "surfaces/widget_snapshot.h"

#include <cstdio>

#include "base/files.h"
#include "base/iso8601.h"
#include "base/log.h"
#include "base/notices.h"

namespace velto {

std::string hexColour(unsigned rgb) {
  char buffer[8];
  std::snprintf(buffer, sizeof buffer, "%06X", rgb & 0xFFFFFFu);
  return buffer;
}

nlohmann::ordered_json toJson(const WidgetSnapshot& s) {
  nlohmann::ordered_json json;
  json["dayStart"] = formatIso8601(s.dayStart);
  json["validUntil"] = formatIso8601(s.validUntil);
  json["updatedAt"] = formatIso8601(s.updatedAt);
  json["isPaused"] = s.isPaused;
  json["totalSeconds"] = s.totalSeconds;
  if (s.changeRatio) json["changeRatio"] = *s.changeRatio;
  json["categories"] = nlohmann::ordered_json::array();
  for (const auto& c : s.categories) {
    nlohmann::ordered_json slice;
    slice["id"] = c.id;
    slice["title"] = c.title;
    slice["seconds"] = c.seconds;
    slice["lightHex"] = hexColour(c.lightRgb);
    slice["darkHex"] = hexColour(c.darkRgb);
    json["categories"].push_back(std::move(slice));
  }
  json["topApps"] = nlohmann::ordered_json::array();
  for (const auto& a : s.topApps) {
    nlohmann::ordered_json slice;
    slice["id"] = a.id;
    slice["name"] = a.name;
    slice["seconds"] = a.seconds;
    json["topApps"].push_back(std::move(slice));
  }
  json["week"] = nlohmann::ordered_json::array();
  for (const auto& d : s.week) {
    nlohmann::ordered_json slice;
    slice["date"] = formatIso8601(d.date);
    slice["seconds"] = d.seconds;
    slice["isToday"] = d.isToday;
    json["week"].push_back(std::move(slice));
  }
  json["appearance"] = s.appearance;
  json["language"] = s.language;
  if (s.chip) {
    json["chip"] = {{"text", s.chip->text}, {"tone", std::string(rawValue(s.chip->tone))}};
  }
  return json;
}

WidgetSnapshotWriter::WidgetSnapshotWriter(std::optional<std::filesystem::path> sharedFolder,
                                           std::function<WidgetSnapshot()> build,
                                           Scheduler& scheduler, NoticeBus& notices)
    : folder_(std::move(sharedFolder)),
      build_(std::move(build)),
      scheduler_(scheduler),
      notices_(notices) {}

void WidgetSnapshotWriter::start() {
  dataChanged_ = notices_.subscribe(notices::kSegmentsDidChange, [this] { write(); });
  timer_ = scheduler_.repeating(60, 10, [this] { write(); });
  write();
}

void WidgetSnapshotWriter::stop() {
  timer_.cancel();
  dataChanged_.reset();
}

void WidgetSnapshotWriter::write() {
  if (!folder_) return;
  const std::string text =
      toJson(build_()).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  if (Status written = files::writeAtomically(*folder_ / kFileName, text); !written) {
    log::error("Widget snapshot write failed: %{public}s", written.error());
  }
}

}  // namespace velto
