// Starting at log-in: the settings choose one way, the targets end up holding exactly that way,
// and the entry and the unit are never on together, not even for a moment or after a failure.
#include "app/login_start.h"

#include <gtest/gtest.h>

#include "base/notice_bus.h"
#include "settings/settings_keys.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

// Both ways as two switches; records whether they were ever on together and can fail on demand.
class FakeTargets : public LoginStartTargets {
 public:
  bool autostart = false;
  bool service = false;
  bool failServiceOn = false;
  bool failAutostartOff = false;
  bool bothSeen = false;

  bool autostartEnabled() const override { return autostart; }
  Status enableAutostart() override { return set(autostart, true, false); }
  Status disableAutostart() override { return set(autostart, false, failAutostartOff); }
  bool serviceEnabled() const override { return service; }
  Status enableService() override { return set(service, true, failServiceOn); }
  Status disableService() override { return set(service, false, false); }

 private:
  Status set(bool& which, bool on, bool fail) {
    if (fail) return Error{"refused"};
    which = on;
    bothSeen = bothSeen || (autostart && service);
    return {};
  }
};

class LoginStartTest : public ::testing::Test {
 protected:
  testing::TempDir dir;
  NoticeBus bus;
  Settings settings{dir / "settings.json", bus};
};

TEST_F(LoginStartTest, TheSettingsChooseOneWayAndOlderFilesMeanTheAutostartEntry) {
  EXPECT_EQ(chosenLoginStart(settings), LoginStart::off);
  settings.setLaunchAtLogin(true);  // as the previous release wrote it: no mode
  EXPECT_EQ(chosenLoginStart(settings), LoginStart::autostart);
  settings.setLaunchAtLoginMode("service");
  EXPECT_EQ(chosenLoginStart(settings), LoginStart::service);
  settings.setLaunchAtLoginMode("cron");
  EXPECT_EQ(chosenLoginStart(settings), LoginStart::autostart);
  settings.setLaunchAtLogin(false);
  settings.setLaunchAtLoginMode("service");
  EXPECT_EQ(chosenLoginStart(settings), LoginStart::off);
}

TEST_F(LoginStartTest, EveryStartingPointEndsInExactlyTheWantedWay) {
  const LoginStart ways[] = {LoginStart::off, LoginStart::autostart, LoginStart::service};
  struct Start {
    bool autostart, service;
  };
  // Both on at once can be left by hand or by an older program; applying repairs it.
  const Start starts[] = {{false, false}, {true, false}, {false, true}, {true, true}};
  for (const Start& start : starts) {
    for (LoginStart wanted : ways) {
      SCOPED_TRACE(std::string(rawValue(wanted)) + " from " + std::to_string(start.autostart) +
                   std::to_string(start.service));
      FakeTargets targets;
      targets.autostart = start.autostart;
      targets.service = start.service;
      ASSERT_TRUE(applyLoginStart(wanted, targets));
      EXPECT_EQ(targets.autostart, wanted == LoginStart::autostart);
      EXPECT_EQ(targets.service, wanted == LoginStart::service);
      EXPECT_EQ(installedLoginStart(targets), wanted);
      if (!(start.autostart && start.service)) {
        EXPECT_FALSE(targets.bothSeen);
      }
    }
  }
}

TEST_F(LoginStartTest, AFailedChangeLeavesTheKeysAndTheSessionAsTheyWere) {
  FakeTargets targets;
  // From a fresh settings file: keys that were absent are absent again.
  targets.failServiceOn = true;
  ASSERT_FALSE(chooseLoginStart(settings, LoginStart::service, targets));
  EXPECT_FALSE(settings.isStored(keys::kLaunchAtLogin));
  EXPECT_FALSE(settings.isStored(keys::kLaunchAtLoginMode));
  EXPECT_EQ(installedLoginStart(targets), LoginStart::off);
  targets.failServiceOn = false;

  ASSERT_TRUE(chooseLoginStart(settings, LoginStart::autostart, targets));
  EXPECT_TRUE(targets.autostart);

  // The unit cannot be enabled (no systemctl): the entry comes back, the keys say autostart.
  targets.failServiceOn = true;
  const Status failed = chooseLoginStart(settings, LoginStart::service, targets);
  ASSERT_FALSE(failed);
  EXPECT_EQ(failed.error(), "refused");
  EXPECT_TRUE(targets.autostart);
  EXPECT_FALSE(targets.service);
  EXPECT_FALSE(targets.bothSeen);
  EXPECT_EQ(chosenLoginStart(settings), LoginStart::autostart);
  EXPECT_EQ(settings.launchAtLoginMode(), "autostart");

  // A change through the keys one by one, as `velto settings set` makes it.
  targets.failServiceOn = false;
  ASSERT_TRUE(
      changeLoginStart(settings, targets, [&] { settings.setLaunchAtLoginMode("service"); }));
  EXPECT_TRUE(targets.service);
  EXPECT_FALSE(targets.autostart);
  ASSERT_TRUE(changeLoginStart(settings, targets, [&] { settings.setLaunchAtLogin(false); }));
  EXPECT_EQ(installedLoginStart(targets), LoginStart::off);
  EXPECT_EQ(settings.launchAtLoginMode(), "service") << "the way is kept for next time";
  EXPECT_FALSE(targets.bothSeen);

  // Turning the entry off fails: the unit is not turned on beside it.
  ASSERT_TRUE(chooseLoginStart(settings, LoginStart::autostart, targets));
  targets.failAutostartOff = true;
  EXPECT_FALSE(chooseLoginStart(settings, LoginStart::service, targets));
  EXPECT_FALSE(targets.service);
  EXPECT_EQ(chosenLoginStart(settings), LoginStart::autostart);
  EXPECT_FALSE(targets.bothSeen);
}

}  // namespace
}  // namespace velto
