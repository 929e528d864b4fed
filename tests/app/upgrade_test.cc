// Every earlier release's files under tests/data/upgrade (tests/data/upgrade/make-case wrote
// them with that release's binaries) open in this one with nothing lost: the same rows and
// daily figures exported, every setting read as that release read it, and its checkpoint turned
// into the "recovered" row. What is compared is what the files hold, never their tables, so a
// later schema's migration must pass the same files. A store of a newer schema is left alone.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "app/login_start.h"
#include "app/service_set.h"
#include "app/setting_catalog.h"
#include "base/files.h"
#include "base/manual_scheduler.h"
#include "recording/scripted_sources.h"
#include "recording/segment_checkpoint.h"
#include "reports/report_json.h"
#include "reports/report_period.h"
#include "reports/usage_export.h"
#include "reports/usage_source.h"
#include "settings/settings_keys.h"
#include "store/persistence_controller.h"
#include "store/sqlite.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using nlohmann::json;
using testing::at;

const std::filesystem::path kCases =
    std::filesystem::path(VELTO_SOURCE_DIR) / "tests" / "data" / "upgrade";

json readJson(const std::filesystem::path& file) {
  const Result<std::string> text = files::readAll(file);
  EXPECT_TRUE(text) << file;
  return text ? json::parse(*text, nullptr, false) : json();
}

// The program as it starts after an upgrade: the release's folders copied into a fresh home.
class Upgraded {
 public:
  explicit Upgraded(const std::filesystem::path& folder) {
    std::filesystem::copy(folder, dir.path(), std::filesystem::copy_options::recursive);
    services = std::make_unique<ServiceSet>(
        Desktop{front, titles, idle, power, session, nullptr, nullptr, scheduler, scheduler},
        ServicePaths{dir / "config" / "Velto" / "settings.json", dir / "data" / "Velto",
                     dir / "shared"},
        *Calendar::named("UTC"));
  }

  json exported(ExportDetail detail) {
    const CategoryDirectory directory = CategoryDirectory::of(services->categories(), "en");
    ExportContext context{services->calendar(), *services->categoryResolver(), directory, "en", {}};
    std::ostringstream out;
    const auto written = writeExport(
        services->store(), ExportRequest{std::nullopt, detail, ExportFormat::json}, context, out);
    EXPECT_TRUE(written);
    return json::parse(out.str(), nullptr, false);
  }

  // `velto report --json` of the week holding `day`, as of the test's clock.
  json weekReport(Instant day) {
    const CategoryDirectory directory = CategoryDirectory::of(services->categories(), "en");
    const std::shared_ptr<const CategoryResolver> resolver = services->categoryResolver();
    const Instant now = scheduler.now();
    UsageSource source(services->store(), services->calendar());
    FigureInputs inputs{services->calendar(), *resolver,     directory, "en", now,
                        std::nullopt,         Uuid::random()};
    const Result<std::vector<CategoryRule>> rules = services->store().categoryRules();
    inputs.categoriesUseTitles = !rules || hasKeywordRules(*rules);
    const Result<UsageFigures> figures = buildFigures(
        source, periodContaining(PeriodKind::week, day, services->calendar(), now), inputs);
    EXPECT_TRUE(figures) << (figures ? "" : figures.error());
    return figures ? reportJson(*figures, services->calendar()) : json();
  }

  testing::TempDir dir;
  testing::LogCapture logs;
  ManualScheduler scheduler{at("2026-12-01T12:00:00Z")};
  ScriptedFrontmostApp front;
  ScriptedWindowTitles titles;
  ScriptedIdleTime idle{scheduler};
  ScriptedPowerAssertions power;
  ScriptedSessionEvents session;
  std::unique_ptr<ServiceSet> services;
};

std::vector<std::filesystem::path> releases() {
  std::vector<std::filesystem::path> out;
  for (const auto& entry : std::filesystem::directory_iterator(kCases)) {
    if (entry.is_directory()) out.push_back(entry.path());
  }
  std::sort(out.begin(), out.end());
  return out;
}

TEST(UpgradeTest, EveryEarlierReleasesFilesOpenWithNothingLost) {
  const std::vector<std::filesystem::path> cases = releases();
  ASSERT_GE(cases.size(), 2u) << "the first layout and the current one";
  for (const std::filesystem::path& folder : cases) {
    SCOPED_TRACE(folder.filename().string());
    const json segments = readJson(folder / "expected" / "segments.json");
    const json dailyApps = readJson(folder / "expected" / "daily-apps.json");
    const json settingsList = readJson(folder / "expected" / "settings.json");
    const json week = readJson(folder / "expected" / "report-week.json");
    ASSERT_TRUE(segments.is_array() && !segments.empty());
    ASSERT_TRUE(dailyApps.is_array() && !dailyApps.empty());
    ASSERT_TRUE(settingsList.contains("settings"));

    Upgraded upgraded(folder);
    ServiceSet& services = *upgraded.services;
    ASSERT_FALSE(services.persistence().degraded()) << services.persistence().degradedReason();

    // Every key that release knew still reads as it read it (keys added since are not compared).
    for (const json& entry : settingsList["settings"]) {
      const std::string key = entry["key"].get<std::string>();
      const SettingInfo* info = SettingCatalog::find(key);
      ASSERT_NE(info, nullptr) << key << " is gone";
      EXPECT_EQ(SettingCatalog::value(services.settings(), *info), entry["value"]) << key;
    }
    // Starting at log-in was the autostart entry alone then, and stays that.
    EXPECT_EQ(chosenLoginStart(services.settings()), LoginStart::autostart);
    EXPECT_FALSE(services.limits().limits().empty());

    EXPECT_EQ(upgraded.exported(ExportDetail::segments), segments);
    EXPECT_EQ(upgraded.exported(ExportDetail::dailyApps), dailyApps);
    // The report, from whatever the store keeps for reports (aggregates, caches).
    EXPECT_EQ(upgraded.weekReport(at("2026-11-17T12:00:00Z")), week);

    // The checkpoint it left becomes one more row, ending "recovered", and goes away.
    const auto checkpointFile = upgraded.dir / "data" / "Velto" / "open-segment.json";
    const Result<SegmentCheckpoint> checkpoint =
        decodeCheckpoint(files::readAll(checkpointFile).toOptional().value_or(""));
    ASSERT_TRUE(checkpoint);
    services.start();
    services.quit();
    EXPECT_FALSE(std::filesystem::exists(checkpointFile));
    const json after = upgraded.exported(ExportDetail::segments);
    ASSERT_EQ(after.size(), segments.size() + 1);
    json recovered;
    for (const json& row : after) {
      if (std::find(segments.begin(), segments.end(), row) == segments.end()) recovered = row;
    }
    EXPECT_EQ(recovered.value("end_reason", ""), "recovered");
    EXPECT_EQ(recovered.value("bundle_id", ""), checkpoint->context.bundleId);
    EXPECT_EQ(recovered.value("window_title", ""), checkpoint->context.windowTitle.value_or(""));
  }
}

TEST(UpgradeTest, AStoreOfANewerSchemaIsLeftByteForByteAndRecordingGoesOnInMemory) {
  const std::vector<std::filesystem::path> cases = releases();
  ASSERT_FALSE(cases.empty());
  testing::TempDir dir;
  std::filesystem::copy(cases.back() / "data", dir / "data",
                        std::filesystem::copy_options::recursive);
  const auto file = dir / "data" / "Velto" / "Velto.sqlite";
  {
    auto db = sql::Database::open(file.string(), SQLITE_OPEN_READWRITE);
    ASSERT_TRUE(db);
    const std::string newer =
        "PRAGMA user_version = " + std::to_string(PersistenceController::kSchemaVersion + 1);
    ASSERT_TRUE(db->exec(newer.c_str()));
  }
  const std::string before = files::readAll(file).value();
  const std::string checkpoint =
      files::readAll(dir / "data" / "Velto" / "open-segment.json").value();

  Upgraded upgraded(dir.path());
  ServiceSet& services = *upgraded.services;
  EXPECT_TRUE(services.persistence().degraded());
  EXPECT_NE(services.persistence().degradedReason().find("newer version of Velto"),
            std::string::npos);
  upgraded.front.setSilently(RunningApplication{"code", "Code", 1});
  services.start();
  upgraded.scheduler.advanceBy(120);
  services.quit();
  EXPECT_EQ(services.store().fetchDay("2026-12-01")->size(), 1u) << "recorded in memory";
  EXPECT_TRUE(files::readAll(upgraded.dir / "data" / "Velto" / "Velto.sqlite").value() == before)
      << "the newer store was changed";
  EXPECT_FALSE(std::filesystem::exists(upgraded.dir / "data" / "Velto" / "Velto.sqlite-wal"));
  EXPECT_EQ(files::readAll(upgraded.dir / "data" / "Velto" / "open-segment.json")
                .toOptional()
                .value_or(""),
            checkpoint)
      << "the checkpoint waits for a program that can store it";
}

}  // namespace
}  // namespace velto
