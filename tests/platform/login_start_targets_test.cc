// The autostart entry and the systemd user unit on disk, enabled with the real systemctl where
// it is installed (it links the unit without a running user manager), and a scripted one for
// what the real one cannot show here. The cgroup table names how a running recorder started.
#include "platform/linux/login_start_targets.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "base/files.h"
#include "test_support/temp_dir.h"

namespace velto::platform {
namespace {

// Points XDG_CONFIG_HOME somewhere else for one test, as systemctl reads it too.
class ConfigHome {
 public:
  explicit ConfigHome(const std::filesystem::path& folder) {
    if (const char* old = std::getenv("XDG_CONFIG_HOME")) old_ = old;
    ::setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
  }
  ~ConfigHome() {
    if (old_) {
      ::setenv("XDG_CONFIG_HOME", old_->c_str(), 1);
    } else {
      ::unsetenv("XDG_CONFIG_HOME");
    }
  }

 private:
  std::optional<std::string> old_;
};

bool haveSystemctl() {
  const Result<ProgramRun> run = runProgram({"systemctl", "--version"});
  return run && run->exitStatus == 0;
}

TEST(LoginStartTargetsTest, TheRealSystemctlLinksAndUnlinksTheUnitWrittenForThisProgram) {
  if (!haveSystemctl()) GTEST_SKIP() << "systemctl is not installed";
  testing::TempDir dir;
  const ConfigHome home(dir / "config");
  LoginStartPaths paths = LoginStartPaths::forUser("/opt/My Velto/bin/velto");
  ASSERT_EQ(paths.userUnitFolder, dir / "config" / "systemd" / "user");
  ASSERT_FALSE(std::filesystem::exists(paths.installedUnit));
  SessionLoginStart targets(paths);

  ASSERT_TRUE(applyLoginStart(LoginStart::service, targets));
  EXPECT_TRUE(targets.serviceEnabled());
  EXPECT_FALSE(targets.autostartEnabled());
  const auto link = paths.userUnitFolder / "graphical-session.target.wants" / "velto.service";
  EXPECT_EQ(std::filesystem::read_symlink(link), paths.userUnitFolder / "velto.service");
  const std::string unit = files::readAll(paths.userUnitFolder / "velto.service").value();
  EXPECT_NE(unit.find("ExecStart=\"/opt/My Velto/bin/velto\" record\n"), std::string::npos);
  EXPECT_NE(unit.find("Restart=on-failure\n"), std::string::npos);
  EXPECT_NE(unit.find("After=graphical-session.target\n"), std::string::npos);
  EXPECT_EQ(installedLoginStart(targets), LoginStart::service);

  ASSERT_TRUE(applyLoginStart(LoginStart::autostart, targets));
  EXPECT_FALSE(std::filesystem::is_symlink(link));
  EXPECT_FALSE(std::filesystem::exists(paths.userUnitFolder / "velto.service"))
      << "the unit Velto wrote goes with it";
  EXPECT_TRUE(std::filesystem::exists(dir / "config" / "autostart" / "velto.desktop"));
  EXPECT_EQ(installedLoginStart(targets), LoginStart::autostart);

  ASSERT_TRUE(applyLoginStart(LoginStart::off, targets));
  EXPECT_EQ(installedLoginStart(targets), LoginStart::off);
}

TEST(LoginStartTargetsTest, AnInstalledUnitIsEnabledAsItIsAndFailuresSayWhatSystemctlSaid) {
  testing::TempDir dir;
  // An installed tree: bin/velto and lib/systemd/user/velto.service beside it.
  std::filesystem::create_directories(dir / "usr" / "lib" / "systemd" / "user");
  ASSERT_TRUE(files::writeAtomically(dir / "usr" / "lib" / "systemd" / "user" / "velto.service",
                                     "[Service]\n"));
  // A systemctl that logs its arguments, and refuses `enable` once asked to.
  const auto log = dir / "calls";
  const auto script = dir / "systemctl";
  ASSERT_TRUE(files::writeAtomically(
      script,
      "#!/bin/sh\necho \"$@\" >> '" + log.string() +
          "'\n"
          "if [ -e '" +
          (dir / "refuse").string() +
          "' ]; then\n"
          "  echo 'Failed to connect to bus: No medium found' >&2; exit 1\nfi\n",
      0755));
  LoginStartPaths paths = LoginStartPaths::forUser(dir / "usr" / "bin" / "velto");
  paths.userUnitFolder = dir / "config" / "systemd" / "user";
  paths.autostartFile = dir / "config" / "autostart" / "velto.desktop";
  paths.systemctl = script.string();
  SystemdUserUnit unit(paths);

  ASSERT_TRUE(unit.enable());
  EXPECT_FALSE(std::filesystem::exists(paths.userUnitFolder / "velto.service"))
      << "the installed unit is used, not a copy";
  ASSERT_TRUE(unit.disable());
  EXPECT_EQ(files::readAll(log).value(),
            "--user enable velto.service\n--user disable velto.service\n");

  // The user's own unit of that name is not Velto's to remove.
  std::filesystem::create_directories(paths.userUnitFolder);
  ASSERT_TRUE(files::writeAtomically(paths.userUnitFolder / "velto.service", "# mine\n"));
  ASSERT_TRUE(unit.disable());
  EXPECT_TRUE(std::filesystem::exists(paths.userUnitFolder / "velto.service"));

  ASSERT_TRUE(files::writeAtomically(dir / "refuse", ""));
  const Status refused = unit.enable();
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error(),
            "systemctl --user enable velto.service failed (1): Failed to connect to bus: No "
            "medium found");

  paths.systemctl = (dir / "no-such-systemctl").string();
  const Status missing = SystemdUserUnit(paths).enable();
  ASSERT_FALSE(missing);
  EXPECT_NE(missing.error().find("no-such-systemctl"), std::string::npos);
}

TEST(LoginStartTargetsTest, TheControlGroupNamesHowTheRecorderStarted) {
  struct Case {
    const char* cgroup;
    RecorderOrigin origin;
  };
  const Case cases[] = {
      {"0::/user.slice/user-1000.slice/user@1000.service/app.slice/velto.service\n",
       RecorderOrigin::service},
      {"0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
       "app-velto@autostart.service\n",
       RecorderOrigin::autostart},
      // cgroup v1: several hierarchies, the unit on the systemd one.
      {"12:cpu,cpuacct:/\n1:name=systemd:/user.slice/user-1000.slice/user@1000.service/"
       "velto.service\n",
       RecorderOrigin::service},
      {"0::/user.slice/user-1000.slice/session-2.scope\n", RecorderOrigin::other},
      {"0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
       "app-org.gnome.Terminal-1234.scope\n",
       RecorderOrigin::other},
      {"0::/user.slice/user-1000.slice/user@1000.service/app.slice/notvelto.service\n",
       RecorderOrigin::other},
      {"0::/\n", RecorderOrigin::other},
      {"", RecorderOrigin::other},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(recorderOriginFromCgroup(c.cgroup), c.origin) << c.cgroup;
  }
  ASSERT_TRUE(recorderOrigin(::getpid()));
  EXPECT_FALSE(recorderOrigin(-1));
}

}  // namespace
}  // namespace velto::platform
