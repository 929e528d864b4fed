#include "base/files.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <thread>

#include "base/paths.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

unsigned modeOf(const std::filesystem::path& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  return info.st_mode & 0777;
}

TEST(FilesTest, AtomicWriteCreatesPrivateFilesAndFoldersAndLeavesNoTemporaries) {
  testing::TempDir dir;
  const auto file = dir / "a" / "b" / "state.json";
  ASSERT_TRUE(files::writeAtomically(file, "first"));
  ASSERT_TRUE(files::writeAtomically(file, "second"));
  EXPECT_EQ(*files::readAll(file), "second");
  EXPECT_EQ(modeOf(file), 0600u);
  EXPECT_EQ(modeOf(dir / "a"), 0700u);
  EXPECT_EQ(modeOf(dir / "a" / "b"), 0700u);
  size_t entries = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir / "a" / "b")) {
    (void)entry;
    ++entries;
  }
  EXPECT_EQ(entries, 1u);
}

// The checkpoint and settings files are replaced this way while the recorder may die at any
// instant: a reader afterwards finds the old file or the new one, whole.
TEST(FilesTest, AProcessKilledWhileReplacingAFileLeavesTheOldOrTheNewOne) {
  testing::TempDir dir;
  const std::filesystem::path file = dir / "open-segment.json";
  // Large enough that a write takes a while, so kills land inside writes too.
  const std::string a(256 * 1024, 'a');
  const std::string b(192 * 1024, 'b');
  ASSERT_TRUE(files::writeAtomically(file, a));
  std::mt19937 random(20261125);
  std::uniform_int_distribution<int> micros(0, 20000);
  int killed = 0;
  for (int round = 0; round < 40; ++round) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (int i = 0;; ++i) (void)files::writeAtomically(file, i % 2 ? a : b);
    }
    std::this_thread::sleep_for(std::chrono::microseconds(micros(random)));
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    killed += WIFSIGNALED(status) ? 1 : 0;
    const Result<std::string> now = files::readAll(file);
    ASSERT_TRUE(now.ok()) << now.error();
    ASSERT_TRUE(*now == a || *now == b)
        << "round " << round << ": a torn file of " << now->size() << " bytes";
  }
  EXPECT_EQ(killed, 40);
}

TEST(FilesTest, FailuresAreValuesWithTheReason) {
  testing::TempDir dir;
  ASSERT_TRUE(files::writeAtomically(dir / "plain", "x"));
  const Status blocked = files::writeAtomically(dir / "plain" / "child.json", "y");
  ASSERT_FALSE(blocked);
  EXPECT_NE(blocked.error().find("plain"), std::string::npos) << blocked.error();
  EXPECT_FALSE(files::readAll(dir / "missing"));
  EXPECT_TRUE(files::remove(dir / "missing"));
  EXPECT_TRUE(files::remove(dir / "plain"));
  EXPECT_FALSE(std::filesystem::exists(dir / "plain"));
}

TEST(FilesTest, ReadableFileProblemSaysWhyAPathIsNoFileToRead) {
  testing::TempDir dir;
  ASSERT_TRUE(files::writeAtomically(dir / "plain", "x"));
  ASSERT_TRUE(files::writeAtomically(dir / "locked", "x", 0000));
  ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);  // no writer: opening it would block
  std::filesystem::create_symlink(dir / "plain", dir / "link");
  struct Case {
    std::filesystem::path path;
    std::optional<files::ReadProblem> problem;
  };
  const Case cases[] = {
      {dir / "plain", std::nullopt},
      {dir / "link", std::nullopt},
      {dir.path(), files::ReadProblem::folder},
      {dir / "missing", files::ReadProblem::missing},
      {dir / "plain" / "child", files::ReadProblem::missing},
      {dir / "fifo", files::ReadProblem::notRegularFile},
      {"/dev/null", files::ReadProblem::notRegularFile},
      // Root reads anything.
      {dir / "locked", ::geteuid() == 0 ? std::nullopt : std::optional(files::ReadProblem::denied)},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(files::readableFileProblem(c.path), c.problem) << c.path;
  }
}

TEST(PathsTest, FollowsXdgVariablesAndIgnoresRelativeOnes) {
  struct Saved {
    const char* name;
    std::optional<std::string> value;
  };
  std::vector<Saved> saved;
  for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"}) {
    const char* value = std::getenv(name);
    saved.push_back({name, value ? std::optional<std::string>(value) : std::nullopt});
  }
  setenv("HOME", "/home/ana", 1);
  setenv("XDG_DATA_HOME", "/data", 1);
  setenv("XDG_CONFIG_HOME", "relative/config", 1);
  unsetenv("XDG_RUNTIME_DIR");
  EXPECT_EQ(paths::dataDir(), "/data/Velto");
  EXPECT_EQ(paths::configDir(), "/home/ana/.config/Velto");
  EXPECT_EQ(paths::sharedDir(), "/data/Velto/shared");
  setenv("XDG_RUNTIME_DIR", "/run/user/1000", 1);
  EXPECT_EQ(paths::sharedDir(), "/run/user/1000/Velto");
  for (const Saved& s : saved) {
    if (s.value) {
      setenv(s.name, s.value->c_str(), 1);
    } else {
      unsetenv(s.name);
    }
  }
}

}  // namespace
}  // namespace velto
