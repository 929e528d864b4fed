// The store under I/O faults and power loss: a recorded sequence of writes (opening and
// migrating an older store, inserts, a reassignment, a deletion, a purge, an import, a wipe) runs
// with one read, write, sync or lock failing, for every position of that fault in the sequence.
// The process goes on, the failure is logged, and the file reopened afterwards holds every row
// of every step that reported success and no half of one that failed. A power loss after any
// step keeps what the steps before it committed.
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "reports/usage_export.h"
#include "store/store_fixture.h"
#include "test_support/fault_vfs.h"
#include "test_support/log_capture.h"

namespace velto::testing {
namespace {

// A row as the checks see it: its application and start.
using Rows = std::set<std::string>;

const char* const kNow = "2026-11-20T12:00:00Z";

struct Step {
  const char* name;
  // Runs the step on the open store; whether the store said it landed.
  std::function<bool()> run;
  // What the step does to the rows when it lands.
  std::function<void(Rows&)> apply;
};

class FaultInjectionTest : public StoreTest {
 protected:
  FaultInjectionTest() : folder_(scratchFolder()) { close(); }
  ~FaultInjectionTest() override {
    close();
    std::error_code ignored;
    std::filesystem::remove_all(folder_.parent_path(), ignored);
  }

  // Thousands of runs sync thousands of times: in memory-backed /dev/shm where there is one.
  static std::filesystem::path scratchFolder() {
    std::filesystem::path base = std::filesystem::is_directory("/dev/shm")
                                     ? std::filesystem::path("/dev/shm")
                                     : std::filesystem::path(::testing::TempDir());
    const std::filesystem::path root =
        base / ("velto-faults-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(root);
    std::filesystem::create_directories(root / "store");
    return root / "store";
  }

  void open() {
    close();
    persistence = std::make_unique<PersistenceController>(folder_);
    store = std::make_unique<SegmentStore>(*persistence, calendar, bus);
  }

  void close() {
    store.reset();
    persistence.reset();
  }

  static std::string key(const std::string& bundleId, Instant start) {
    return bundleId + "@" + std::to_string(start.time_since_epoch().count());
  }
  static std::string key(const std::string& bundleId, const std::string& start) {
    return key(bundleId, at(start));
  }

  // The rows of the store in `folder`, reopened as the next start would; checks on the way that
  // it opens and that its aggregates agree with its rows.
  Rows reopen(const std::filesystem::path& folder) {
    persistence = std::make_unique<PersistenceController>(folder);
    EXPECT_FALSE(persistence->degraded()) << persistence->degradedReason();
    store = std::make_unique<SegmentStore>(*persistence, calendar, bus);
    Rows keys;
    for (const Segment& row : all()) {
      keys.insert(key(row.bundleId, row.startedAt));
    }
    perDay();
    close();
    return keys;
  }

  // A store as an older Velto left it: rows, but none of the report aggregates.
  Rows prepareOlderStore() {
    open();
    add("old", "2026-08-01T09:00:00Z", "2026-08-01T09:30:00Z");  // past a 90-day retention
    add("a1", "2026-11-20T08:00:00Z", "2026-11-20T08:10:00Z");
    add("a2", "2026-11-20T08:10:00Z", "2026-11-20T08:20:00Z");
    sql::Database& db = persistence->database();
    Result<sql::Statement> names = db.prepare(
        "SELECT type, name FROM sqlite_master WHERE (name LIKE 'usage_%' OR name LIKE "
        "'segment_fact%') AND type IN ('table', 'trigger') ORDER BY type DESC");
    const auto dropped = names->collect(
        [](sql::Statement& row) { return "DROP " + row.text(0) + " IF EXISTS " + row.text(1); });
    for (const std::string& drop : dropped.value()) EXPECT_TRUE(db.exec(drop)) << drop;
    close();
    return {key("old", "2026-08-01T09:00:00Z"), key("a1", "2026-11-20T08:00:00Z"),
            key("a2", "2026-11-20T08:10:00Z")};
  }

  std::optional<Uuid> idOf(const std::string& bundleId) {
    for (const Segment& row : all()) {
      if (row.bundleId == bundleId) return row.id;
    }
    return std::nullopt;
  }

  std::vector<Step> writes() {
    auto insert = [this](const char* bundle, const char* from, const char* to) {
      return Step{bundle, [=, this] { return store->insert(recorded(bundle, from, to)).ok(); },
                  [=](Rows& rows) { rows.insert(key(bundle, from)); }};
    };
    return {
        {"open and migrate",
         [this] {
           open();
           return !persistence->degraded();
         },
         [](Rows&) {}},
        insert("b1", "2026-11-20T09:00:00Z", "2026-11-20T09:05:00Z"),
        insert("b2", "2026-11-20T09:05:00Z", "2026-11-20T09:20:00Z"),
        {"reassign",
         [this] {
           const std::optional<Uuid> id = idOf("a1");
           return id && store->reassign(std::vector<Uuid>{*id}, "c", "C").ok();
         },
         [](Rows& rows) {
           rows.erase(key("a1", "2026-11-20T08:00:00Z"));
           rows.insert(key("c", "2026-11-20T08:00:00Z"));
         }},
        {"delete",
         [this] {
           const std::optional<Uuid> id = idOf("a2");
           return id && store->deleteSegments(std::vector<Uuid>{*id}).ok();
         },
         [](Rows& rows) { rows.erase(key("a2", "2026-11-20T08:10:00Z")); }},
        {"purge", [this] { return store->purge(90, at(kNow)).ok(); },
         [](Rows& rows) { rows.erase(key("old", "2026-08-01T09:00:00Z")); }},
        {"import",
         [this] {
           std::istringstream in(R"([
             {"start": "2026-11-20T10:00:00Z", "end": "2026-11-20T10:05:00Z", "seconds": 300,
              "bundle_id": "i1", "app": "I1", "end_reason": "focusChange"},
             {"start": "2026-11-20T10:05:00Z", "end": "2026-11-20T10:15:00Z", "seconds": 600,
              "bundle_id": "i2", "app": "I2", "end_reason": "focusChange"}])");
           return importSegments(*store, in, calendar).ok();
         },
         [](Rows& rows) {
           rows.insert(key("i1", "2026-11-20T10:00:00Z"));
           rows.insert(key("i2", "2026-11-20T10:05:00Z"));
         }},
    };
  }

  std::filesystem::path folder_;

  std::vector<Step> wipeAfterOpening() {
    return {{"open",
             [this] {
               open();
               return !persistence->degraded();
             },
             [](Rows&) {}},
            {"wipe", [this] { return store->wipe().ok(); }, [](Rows& rows) { rows.clear(); }}};
  }

  struct Outcome {
    bool faulted = false;
    // The rows the file may hold afterwards: with and without the step that failed.
    Rows without;
    Rows with;
    std::string failedStep;
    size_t logLines = 0;
  };

  // Runs `steps` from a fresh older store with the `n`th operation of `ops` failing (0: none).
  Outcome run(FaultVfs& vfs, std::vector<Step> steps, std::uint64_t n, unsigned ops, int code) {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    vfs.lift();
    Outcome outcome;
    outcome.without = outcome.with = prepareOlderStore();
    LogCapture logs;
    vfs.failAt(n, ops, code);
    bool degraded = false;
    for (const Step& step : steps) {
      const bool firedBefore = vfs.fired();
      const bool landed = step.run();
      if (degraded) continue;  // into memory only, as the rule is once the file failed
      if (!landed) {
        EXPECT_TRUE(vfs.fired() && !firedBefore) << step.name << " failed without a fault";
        EXPECT_FALSE(logs.lines.empty()) << step.name << " failed without a log line";
        outcome.failedStep = step.name;
        step.apply(outcome.with);
        degraded = persistence->degraded();
        continue;
      }
      step.apply(outcome.without);
      step.apply(outcome.with);
    }
    outcome.faulted = vfs.fired();
    outcome.logLines = logs.lines.size();
    vfs.lift();
    close();
    return outcome;
  }

  // Runs `steps` with the fault at every position, for each kind of fault.
  void everyFault(const std::vector<Step>& steps) {
    std::unique_ptr<FaultVfs> vfs = FaultVfs::install();
    const struct {
      unsigned ops;
      int code;
    } kinds[] = {{FaultVfs::all, SQLITE_IOERR},
                 {FaultVfs::write, SQLITE_FULL},
                 {FaultVfs::sync, SQLITE_IOERR_FSYNC},
                 {FaultVfs::lock, SQLITE_IOERR_LOCK}};
    for (const auto& kind : kinds) {
      std::uint64_t injected = 0;
      for (std::uint64_t n = 1;; ++n) {
        SCOPED_TRACE("fault " + std::to_string(n) + " of kinds " + std::to_string(kind.ops));
        const Outcome outcome = run(*vfs, steps, n, kind.ops, kind.code);
        if (!outcome.faulted) break;  // past the last operation of the sequence
        ++injected;
        const Rows onDisk = reopen(folder_);
        EXPECT_TRUE(onDisk == outcome.without || onDisk == outcome.with)
            << "after a fault in \"" << outcome.failedStep << "\" the file holds "
            << ::testing::PrintToString(onDisk) << ", expected "
            << ::testing::PrintToString(outcome.without) << " or "
            << ::testing::PrintToString(outcome.with);
        if (::testing::Test::HasFailure()) return;
      }
      // Every operation of the kind was failed once (--gtest_output=xml lists how many).
      RecordProperty("faults_" + std::to_string(kind.ops), std::to_string(injected));
      EXPECT_GE(injected, 1u);
    }
  }
};

TEST_F(FaultInjectionTest, EveryFaultInTheWritesLeavesWholeSteps) {
  everyFault(writes());
}

TEST_F(FaultInjectionTest, EveryFaultInAWipeLeavesAllOrNothing) {
  everyFault(wipeAfterOpening());
}

TEST_F(FaultInjectionTest, APowerLossKeepsWhatWasCommitted) {
  std::unique_ptr<FaultVfs> vfs = FaultVfs::install();
  const std::vector<Step> steps = writes();
  for (size_t lost = 0; lost < steps.size(); ++lost) {
    SCOPED_TRACE(std::string("power lost after \"") + steps[lost].name + "\"");
    std::filesystem::remove_all(folder_);
    Rows expected = prepareOlderStore();
    for (size_t i = 0; i <= lost; ++i) {
      ASSERT_TRUE(steps[i].run()) << steps[i].name;
      steps[i].apply(expected);
    }
    const std::filesystem::path disk = folder_.parent_path() / "after-power-loss";
    std::filesystem::remove_all(disk);
    vfs->writeDiskAfterPowerLoss(folder_, disk);
    close();
    EXPECT_EQ(reopen(disk), expected);
    std::filesystem::remove_all(disk);
  }
}

}  // namespace
}  // namespace velto::testing
