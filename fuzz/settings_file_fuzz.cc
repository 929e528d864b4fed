// Feeds arbitrary bytes as the settings file: reading it, every key's value through the typed
// getters, and the stores that keep documents in it (limits, exclusions, categories) must never
// crash or throw, whatever a hand edit or another program left there.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "app/setting_catalog.h"
#include "base/clock.h"
#include "base/log.h"
#include "base/notice_bus.h"
#include "categories/category_catalog.h"
#include "context/exclusion_store.h"
#include "limits/limit_store.h"
#include "settings/settings.h"

namespace {

const std::filesystem::path& settingsPath() {
  static const std::filesystem::path path = [] {
    // A RAM-backed folder when there is one: this runs millions of times.
    std::filesystem::path folder = std::filesystem::exists("/dev/shm")
                                       ? std::filesystem::path("/dev/shm")
                                       : std::filesystem::temp_directory_path();
    folder /= "velto-fuzz-settings-" + std::to_string(getpid());
    std::filesystem::create_directories(folder);
    return folder / "settings.json";
  }();
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Every unreadable input logs a line; millions of them would drown the fuzzer's own output.
  velto::log::setSinks({});
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::filesystem::path& path = settingsPath();
  {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  velto::NoticeBus notices;
  velto::Settings settings(path, notices);
  for (const velto::SettingInfo& info : velto::SettingCatalog::all()) {
    (void)velto::SettingCatalog::value(settings, info);
  }
  const velto::FixedClock clock(velto::Instant(velto::Microseconds(1'700'000'000'000'000)));
  velto::LimitStore limits(settings, notices, clock);
  velto::ExclusionStore exclusions(settings, notices);
  velto::CategoryCatalog categories(settings, notices);
  (void)categories.allCategories();
  // A file that could not be read was moved aside; start the next input from nothing.
  std::error_code ignored;
  std::filesystem::path bad = path;
  bad += ".bad";
  std::filesystem::remove(bad, ignored);
  return 0;
}
