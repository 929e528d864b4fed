// Today's figures for status-bar modules and widgets in other processes, which cannot open the
// store: "widget-snapshot.json" in the shared folder, rewritten atomically on start, when the
// recorded data changes and every 60 s. Dates are ISO 8601 (UTC); colours six upper-case hex
// digits. Keys keep the order below; other programs read this file. "chip" ({"text", "tone"})
// follows the widget's keys and is left out while the chip shows the mark only.
#pragma once

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/notice_bus.h"
#include "base/scheduler.h"
#include "base/time.h"
#include "surfaces/menu_bar_title.h"

namespace velto {

struct WidgetSnapshot {
  struct CategorySlice {
    std::string id;
    std::string title;
    double seconds = 0;
    unsigned lightRgb = 0;  // 0xRRGGBB
    unsigned darkRgb = 0;
  };
  struct AppSlice {
    std::string id;
    std::string name;
    double seconds = 0;
  };
  struct DaySlice {
    Instant date;
    double seconds = 0;
    bool isToday = false;
  };

  Instant dayStart;
  Instant validUntil;
  Instant updatedAt;
  bool isPaused = false;
  double totalSeconds = 0;
  std::optional<double> changeRatio;
  std::vector<CategorySlice> categories;
  std::vector<AppSlice> topApps;
  std::vector<DaySlice> week;
  std::string appearance = "auto";
  std::string language = "auto";
  // The tray chip as the recorder shows it, for status-bar modules; none: the mark only.
  std::optional<MenuBarChip> chip;
};

nlohmann::ordered_json toJson(const WidgetSnapshot& snapshot);
// "%06X" of a 24-bit colour.
std::string hexColour(unsigned rgb);

class WidgetSnapshotWriter {
 public:
  static constexpr const char* kFileName = "widget-snapshot.json";

  // `sharedFolder` none: nothing is ever written.
  WidgetSnapshotWriter(std::optional<std::filesystem::path> sharedFolder,
                       std::function<WidgetSnapshot()> build, Scheduler& scheduler,
                       NoticeBus& notices);
  void start();
  void stop();
  // Builds and writes now; a failure is logged and the previous file stays.
  void write();

 private:
  std::optional<std::filesystem::path> folder_;
  std::function<WidgetSnapshot()> build_;
  Scheduler& scheduler_;
  NoticeBus& notices_;
  Timer timer_;
  Subscription dataChanged_;
};

}  // namespace velto
