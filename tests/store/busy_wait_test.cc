#include <gtest/gtest.h>

#include "store/persistence_controller.h"
#include "store/sqlite.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

using testing::TempDir;

// Two processes' connections to one store file, the first holding the write lock.
class BusyWaitTest : public ::testing::Test {
 protected:
  void SetUp() override {
    PersistenceController created(dir.path());
    ASSERT_FALSE(created.degraded());
    const std::string file = (dir.path() / PersistenceController::kFileName).string();
    holder.emplace(sql::Database::open(file, SQLITE_OPEN_READWRITE).value());
    waiter.emplace(sql::Database::open(file, SQLITE_OPEN_READWRITE).value());
    ASSERT_TRUE(holder->exec("BEGIN IMMEDIATE"));
  }

  Status write() { return waiter->exec("DELETE FROM category_rule"); }

  TempDir dir;
  std::optional<sql::Database> holder;
  std::optional<sql::Database> waiter;
};

TEST_F(BusyWaitTest, AWriterHeldPastTheWaitFailsBusyAfterOneNotice) {
  int notices = 0;
  waiter->setBusyTimeout(150);
  waiter->setBusyNotice(50, [&] { ++notices; });
  const Status refused = write();
  ASSERT_FALSE(refused);
  EXPECT_TRUE(sql::isBusyError(refused.error())) << refused.error();
  EXPECT_EQ(notices, 1);
  // The next wait is a wait of its own, with its own notice.
  ASSERT_FALSE(write());
  EXPECT_EQ(notices, 2);
  EXPECT_FALSE(sql::isBusyError("database disk image is malformed"));
}

TEST_F(BusyWaitTest, AWriterReleasedWithinTheWaitLands) {
  waiter->setBusyTimeout(5000);
  waiter->setBusyNotice(20, [&] { ASSERT_TRUE(holder->exec("COMMIT")); });
  EXPECT_TRUE(write());
}

TEST_F(BusyWaitTest, WithoutAWaitAHeldStoreRefusesAtOnce) {
  bool noticed = false;
  waiter->setBusyNotice(0, [&] { noticed = true; });
  ASSERT_FALSE(write());
  EXPECT_FALSE(noticed);
}

}  // namespace
}  // namespace velto
