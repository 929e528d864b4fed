#include "store/persistence_controller.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/files.h"
#include "store_fixture.h"
#include "test_support/log_capture.h"

namespace velto {
namespace {

using testing::at;
using testing::LogCapture;
using testing::TempDir;

unsigned modeOf(const std::filesystem::path& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  return info.st_mode & 0777;
}

std::string pragma(sql::Database& db, const char* name) {
  auto statement = db.prepare(std::string("PRAGMA ") + name);
  EXPECT_TRUE(statement && statement->step().value());
  return statement->text(0);
}

TEST(PersistenceControllerTest, CreatesAPrivateWalStoreAtSchemaOne) {
  TempDir dir;
  PersistenceController persistence(dir / "data" / "Velto");
  EXPECT_FALSE(persistence.degraded());
  EXPECT_FALSE(persistence.inMemory());
  EXPECT_EQ(modeOf(dir / "data" / "Velto"), 0700u);
  EXPECT_EQ(modeOf(dir / "data" / "Velto" / "Velto.sqlite"), 0600u);
  EXPECT_EQ(pragma(persistence.database(), "journal_mode"), "wal");
  EXPECT_EQ(pragma(persistence.database(), "synchronous"), "2");  // FULL
  EXPECT_EQ(pragma(persistence.database(), "user_version"), "1");
}

TEST(PersistenceControllerTest, AnUnusableFileIsLeftUntouchedAndTheStoreRunsInMemory) {
  struct Case {
    const char* what;
    std::string bytes;  // empty: made with SQL below
    const char* sql;
  };
  const Case cases[] = {
      {"garbage", std::string(5000, '\x5a'), nullptr},
      {"truncated header", "SQLite format 3", nullptr},
      {"newer schema", "", "PRAGMA user_version = 7; CREATE TABLE segment (x);"},
      {"someone else's database", "", "CREATE TABLE invoices (id INTEGER);"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    TempDir dir;
    const auto file = dir / "Velto.sqlite";
    if (c.sql != nullptr) {
      auto db = sql::Database::open(file.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
      ASSERT_TRUE(db);
      ASSERT_TRUE(db->exec(c.sql));
    } else {
      ASSERT_TRUE(files::writeAtomically(file, c.bytes));
    }
    const std::string before = files::readAll(file).value();

    LogCapture logs;
    NoticeBus bus;
    Calendar calendar = *Calendar::named("UTC");
    PersistenceController persistence(dir.path());
    EXPECT_TRUE(persistence.degraded());
    EXPECT_TRUE(persistence.inMemory());
    ASSERT_EQ(logs.lines.size(), 1u);
    EXPECT_NE(logs.lines[0].find("recording into memory only"), std::string::npos);

    // Recording goes on in memory.
    SegmentStore store(persistence, calendar, bus);
    ActivityContext context{"editor", "Editor", {}, {}, {}, {}};
    ASSERT_TRUE(store.insert({context, at("2026-11-21T09:00:00Z"), at("2026-11-21T10:00:00Z"),
                              SegmentEndReason::focusChange}));
    EXPECT_EQ(store.fetchDay("2026-11-21")->size(), 1u);

    EXPECT_TRUE(files::readAll(file).value() == before) << "the unusable file was changed";
    EXPECT_FALSE(std::filesystem::exists(dir / "Velto.sqlite-wal"));
  }
}

// A newer version killed with its log not yet folded in: both files stay exactly as they were.
TEST(PersistenceControllerTest, ANewerStoreWithAPendingLogIsLeftAsItIs) {
  TempDir dir;
  const auto file = dir.path() / PersistenceController::kFileName;
  {
    auto db = sql::Database::open(file.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    ASSERT_TRUE(db);
    sqlite3_db_config(db->handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    ASSERT_TRUE(
        db->exec("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0; "
                 "CREATE TABLE later (x); INSERT INTO later VALUES (1); "
                 "PRAGMA user_version = " +
                 std::to_string(PersistenceController::kSchemaVersion + 1)));
  }
  auto wal = file;
  wal += "-wal";
  const std::string before = files::readAll(file).value();
  const std::string log = files::readAll(wal).value();
  ASSERT_FALSE(log.empty());
  {
    PersistenceController persistence(dir.path());
    EXPECT_TRUE(persistence.degraded());
  }
  EXPECT_TRUE(files::readAll(file).value() == before);
  EXPECT_TRUE(files::readAll(wal).value() == log);
}

TEST(PersistenceControllerTest, AFolderThatCannotBeMadeIsLoggedAndTheStoreDegrades) {
  TempDir dir;
  ASSERT_TRUE(files::writeAtomically(dir / "blocked", "a file where the folder should be"));
  LogCapture logs;
  PersistenceController persistence(dir / "blocked" / "Velto");
  EXPECT_TRUE(persistence.degraded());
  ASSERT_GE(logs.lines.size(), 1u);
  EXPECT_TRUE(logs.lines[0].starts_with("createDirectory failed at " +
                                        (dir / "blocked" / "Velto").string() + ": "))
      << logs.lines[0];
}

TEST(PersistenceControllerTest, AKilledProcessLeavesEveryCommittedRow) {
  TempDir dir;
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    NoticeBus bus;
    Calendar calendar = *Calendar::named("UTC");
    PersistenceController persistence(dir.path());
    SegmentStore store(persistence, calendar, bus);
    ActivityContext context{"editor", "Editor", {}, {}, {}, {}};
    for (int i = 0; i < 100; ++i) {
      const Instant start = addSeconds(at("2026-11-21T09:00:00Z"), i * 10);
      (void)store.insert({context, start, addSeconds(start, 5), SegmentEndReason::focusChange});
    }
    // Half-way through a big change, the process dies.
    sql::Transaction transaction(persistence.database());
    (void)persistence.database().exec("DELETE FROM segment");
    (void)persistence.database().exec(
        "INSERT INTO segment (id, started_us, ended_us, seconds) VALUES (randomblob(16), 0, 1, 1)");
    ::raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));

  NoticeBus bus;
  Calendar calendar = *Calendar::named("UTC");
  PersistenceController persistence(dir.path());
  ASSERT_FALSE(persistence.degraded()) << persistence.degradedReason();
  SegmentStore store(persistence, calendar, bus);
  EXPECT_EQ(store.count().value(), 100);
  EXPECT_EQ(pragma(persistence.database(), "integrity_check"), "ok");
}

}  // namespace
}  // namespace velto
