#include "platform/linux/folder_watch.h"

#include <gtest/gtest.h>

#include <fstream>
#include <vector>

#include "platform/linux/event_scheduler.h"
#include "test_support/temp_dir.h"

namespace velto::platform {
namespace {

TEST(FolderWatch, ReportsEntriesCreatedRenamedInAndRemovedByTheFolderAdded) {
  testing::TempDir commands;
  testing::TempDir settings;
  EventLoop loop;
  EventScheduler scheduler(loop);
  std::vector<std::filesystem::path> changed;
  FolderWatch watch(loop, [&](const std::filesystem::path& folder) {
    changed.push_back(folder);
    loop.exit();
  });
  ASSERT_TRUE(watch.add(commands.path()));
  ASSERT_TRUE(watch.add(settings.path()));
  EXPECT_FALSE(watch.add(commands / "missing"));

  auto waitForChange = [&] {
    changed.clear();
    Timer guard = scheduler.after(2, [&] { loop.exit(); });
    loop.run();
    return changed;
  };

  std::ofstream(commands / "command.json") << "{}";
  EXPECT_EQ(waitForChange(), std::vector<std::filesystem::path>{commands.path()});

  // A writer renaming a finished file into place.
  std::ofstream(settings / ".settings.tmp") << "{}";
  waitForChange();
  std::filesystem::rename(settings / ".settings.tmp", settings / "settings.json");
  EXPECT_EQ(waitForChange(), std::vector<std::filesystem::path>{settings.path()});

  std::filesystem::remove(commands / "command.json");
  EXPECT_EQ(waitForChange(), std::vector<std::filesystem::path>{commands.path()});
}

}  // namespace
}  // namespace velto::platform
