#include "surfaces/widget_snapshot.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

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

bool isMeaninglessWindowTitle(std::string_view title) {
  icu::UnicodeString text = icu::UnicodeString::fromUTF8(
      icu::StringPiece(title.data(), static_cast<int32_t>(title.size())));
  text.trim();
  text.toLower(icu::Locale::getRoot());
  if (text.countChar32() <= 1) return true;
  std::string lower;
  text.toUTF8String(lower);
  for (const char* word :
       {"new tab", "new window", "untitled", "no name", "default", "home", "~"}) {
    if (lower == word) return true;
  }
  if (lower.rfind("untitled", 0) == 0) return true;
  // Digits and dots only.
  if (lower.find_first_not_of("0123456789.") == std::string::npos) return true;
  // A size: digits, optional white space, 'x' or '×', optional white space, digits.
  int32_t i = 0;
  const int32_t n = text.length();
  auto digits = [&] {
    const int32_t from = i;
    while (i < n && u_isdigit(text.char32At(i))) i = text.moveIndex32(i, 1);
    return i > from;
  };
  auto spaces = [&] {
    while (i < n && u_isUWhiteSpace(text.char32At(i))) i = text.moveIndex32(i, 1);
  };
  if (!digits()) return false;
  spaces();
  if (i >= n || (text.char32At(i) != U'x' && text.char32At(i) != 0x00D7)) return false;
  i = text.moveIndex32(i, 1);
  spaces();
  return digits() && i == n;
}

}  // namespace velto
