#include "base/settings_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "base/files.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

using nlohmann::json;
using Keys = SettingsFile::ChangedKeys;

// Another process replacing the file, as a writer that renames into place does.
void writeExternally(const std::filesystem::path& path, std::string_view bytes) {
  ASSERT_TRUE(files::writeAtomically(path, bytes));
}

std::string contents(const std::filesystem::path& path) {
  return *files::readAll(path);
}

unsigned modeOf(const std::filesystem::path& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  return info.st_mode & 0777;
}

TEST(SettingsFileTest, MissingFileReadsEmptyAndFirstWriteIsPrivate) {
  testing::TempDir dir;
  const auto path = dir / "config/Velto/settings.json";
  SettingsFile file(path);
  EXPECT_EQ(file.value("velto.a"), nullptr);
  EXPECT_FALSE(std::filesystem::exists(path));

  EXPECT_EQ(file.set("velto.a", 1), Keys{"velto.a"});
  EXPECT_EQ(modeOf(path), 0600u);
  EXPECT_EQ(modeOf(path.parent_path()), 0700u);
  EXPECT_EQ(modeOf(path.parent_path().parent_path()), 0700u);
  EXPECT_EQ(*SettingsFile(path).value("velto.a"), json(1));
}

TEST(SettingsFileTest, UnchangedValuesReportAndWriteNothing) {
  testing::TempDir dir;
  const auto path = dir / "settings.json";
  SettingsFile file(path);
  ASSERT_EQ(file.set("velto.a", json{{"x", 1}}), Keys{"velto.a"});
  struct stat before {};
  ASSERT_EQ(::stat(path.c_str(), &before), 0);

  EXPECT_EQ(file.set("velto.a", json{{"x", 1}}), Keys{});
  EXPECT_EQ(file.remove("velto.absent"), Keys{});
  struct stat after {};
  ASSERT_EQ(::stat(path.c_str(), &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino) << "an unchanged value must not rewrite the file";
  EXPECT_EQ(file.reloadIfChanged(), Keys{});

  EXPECT_EQ(file.remove("velto.a"), Keys{"velto.a"});
  EXPECT_EQ(json::parse(contents(path)), json::object());
}

TEST(SettingsFileTest, DamagedFileReadsEmptyAndIsMovedAsideBeforeTheNextWrite) {
  const std::string damaged[] = {std::string("\x00\xff\xfe{{garbage", 12), "[1, 2, 3]",
                                 "{\"velto.a\": 1, \"velto.b\": ", "\"just text\"", ""};
  for (const std::string& bytes : damaged) {
    SCOPED_TRACE(bytes);
    testing::TempDir dir;
    testing::LogCapture logs;
    const auto path = dir / "settings.json";
    writeExternally(path, bytes);

    SettingsFile file(path);
    EXPECT_EQ(file.value("velto.a"), nullptr);
    EXPECT_EQ(logs.lines.size(), 1u);
    EXPECT_EQ(file.reloadIfChanged(), Keys{});
    EXPECT_EQ(contents(path), bytes) << "reading must not rewrite the file";

    EXPECT_EQ(file.set("velto.c", 3), Keys{"velto.c"});
    EXPECT_EQ(contents(dir / "settings.json.bad"), bytes);
    EXPECT_EQ(json::parse(contents(path)), (json{{"velto.c", 3}}));
    EXPECT_EQ(logs.lines.size(), 1u);
  }
}

TEST(SettingsFileTest, DamagedFileReplacedByAGoodOneIsNotMovedAside) {
  testing::TempDir dir;
  testing::LogCapture logs;
  const auto path = dir / "settings.json";
  writeExternally(path, "{oops");
  SettingsFile file(path);
  writeExternally(path, R"({"velto.a": 1})");

  EXPECT_EQ(file.set("velto.b", 2), (Keys{"velto.a", "velto.b"}));
  EXPECT_FALSE(std::filesystem::exists(dir / "settings.json.bad"));
  EXPECT_EQ(json::parse(contents(path)), (json{{"velto.a", 1}, {"velto.b", 2}}));
}

TEST(SettingsFileTest, DamageWhileRunningKeepsTheKnownValues) {
  testing::TempDir dir;
  testing::LogCapture logs;
  const auto path = dir / "settings.json";
  SettingsFile file(path);
  ASSERT_EQ(file.set("velto.a", 1), Keys{"velto.a"});
  writeExternally(path, "{\"velto.a\": 2,");  // a hand edit saved half-way

  EXPECT_EQ(file.reloadIfChanged(), Keys{});
  EXPECT_EQ(*file.value("velto.a"), json(1));
  EXPECT_EQ(logs.lines, std::vector<std::string>{"Could not read settings: " + path.string() +
                                                 " is not valid JSON"});
  ASSERT_EQ(file.set("velto.b", 2), Keys{"velto.b"});
  EXPECT_EQ(contents(dir / "settings.json.bad"), "{\"velto.a\": 2,");
  EXPECT_EQ(json::parse(contents(path)), (json{{"velto.a", 1}, {"velto.b", 2}}));
}

TEST(SettingsFileTest, ReloadReportsExactlyTheKeysAnotherProcessChanged) {
  testing::TempDir dir;
  const auto path = dir / "settings.json";
  SettingsFile file(path);
  file.apply({{"velto.same", 1}, {"velto.changed", 2}, {"velto.removed", 3}});

  writeExternally(path, R"({"velto.same": 1.0, "velto.changed": "two", "velto.added": true})");
  EXPECT_EQ(file.reloadIfChanged(), (Keys{"velto.added", "velto.changed", "velto.removed"}));
  EXPECT_EQ(*file.value("velto.changed"), json("two"));
  EXPECT_EQ(file.value("velto.removed"), nullptr);
  EXPECT_EQ(file.reloadIfChanged(), Keys{});

  std::filesystem::remove(path);
  EXPECT_EQ(file.reloadIfChanged(), (Keys{"velto.added", "velto.changed", "velto.same"}));
}

TEST(SettingsFileTest, InPlaceEditOfEqualSizeIsSeenByItsModificationTime) {
  testing::TempDir dir;
  const auto path = dir / "settings.json";
  SettingsFile file(path);
  ASSERT_EQ(file.set("velto.a", 1), Keys{"velto.a"});
  struct stat before {};
  ASSERT_EQ(::stat(path.c_str(), &before), 0);

  const std::string edited = [&] {
    std::string text = contents(path);
    text[text.find('1')] = '7';
    return text;
  }();
  std::ofstream(path, std::ios::in | std::ios::out | std::ios::binary) << edited;
  timespec times[2] = {before.st_atim, before.st_mtim};
  times[1].tv_nsec = (times[1].tv_nsec + 1) % 1000000000;  // one nanosecond apart
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);

  EXPECT_EQ(file.reloadIfChanged(), Keys{"velto.a"});
  EXPECT_EQ(*file.value("velto.a"), json(7));
}

TEST(SettingsFileTest, WriteKeepsAnotherProcessesChangeToAnotherKey) {
  testing::TempDir dir;
  const auto path = dir / "settings.json";
  SettingsFile file(path);
  ASSERT_EQ(file.set("velto.mine", 1), Keys{"velto.mine"});
  writeExternally(path, R"({"velto.mine": 1, "velto.theirs": 2})");

  EXPECT_EQ(file.set("velto.mine", 5), (Keys{"velto.mine", "velto.theirs"}));
  EXPECT_EQ(json::parse(contents(path)), (json{{"velto.mine", 5}, {"velto.theirs", 2}}));
}

TEST(SettingsFileTest, WriteFailureIsLoggedAndTheValueStillChanges) {
  testing::TempDir dir;
  testing::LogCapture logs;
  std::ofstream(dir / "blocker") << "a file where the folder should be";
  SettingsFile file(dir / "blocker/settings.json");

  EXPECT_EQ(file.set("velto.a", 1), Keys{"velto.a"});
  EXPECT_EQ(*file.value("velto.a"), json(1));
  ASSERT_EQ(logs.lines.size(), 1u);
  EXPECT_EQ(logs.lines[0].rfind("Could not save settings: ", 0), 0u) << logs.lines[0];
}

}  // namespace
}  // namespace velto
