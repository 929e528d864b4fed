// The two ways of starting at log-in on a Linux desktop, as app/login_start.h drives them: the
// XDG autostart entry that starts the tray application, and the systemd user unit
// "velto.service" that runs `velto record`. The unit is the one installed with the program
// (<prefix>/lib/systemd/user, found next to the program's folder) when there is one, else one
// written into the user's unit folder naming this program; either is enabled and disabled with
// `systemctl --user`, which works with or without a running user manager.
//
// Thread: main thread. enable and disable wait for systemctl (well under a second).
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/login_start.h"
#include "platform/linux/autostart_file.h"

namespace velto::platform {

struct LoginStartPaths {
  std::filesystem::path program;         // `velto`: the tray application without arguments
  std::filesystem::path autostartFile;   // $XDG_CONFIG_HOME/autostart/velto.desktop
  std::filesystem::path userUnitFolder;  // $XDG_CONFIG_HOME/systemd/user
  std::filesystem::path installedUnit;   // <program>/../lib/systemd/user/velto.service
  std::string systemctl = "systemctl";   // looked up in PATH

  // For this user, with `program` the `velto` the entry and the unit start.
  static LoginStartPaths forUser(std::filesystem::path program);
};

// The `velto` next to the running binary (velto, velto-gui).
std::filesystem::path veltoNextToThisProgram();

class SystemdUserUnit {
 public:
  explicit SystemdUserUnit(LoginStartPaths paths) : paths_(std::move(paths)) {}

  // The user's graphical-session.target wants the unit (what `systemctl --user enable` links).
  bool enabled() const;
  // Writes the user's unit when none is installed, then `systemctl --user enable velto.service`.
  Status enable() const;
  // `systemctl --user disable velto.service`, then removes a unit this class wrote.
  Status disable() const;

  // The unit written for `program` when none is installed.
  static std::string unitText(const std::filesystem::path& program);

 private:
  Status systemctl(std::string_view verb) const;
  LoginStartPaths paths_;
};

class SessionLoginStart : public LoginStartTargets {
 public:
  explicit SessionLoginStart(LoginStartPaths paths)
      : program_(paths.program), autostart_(paths.autostartFile), unit_(std::move(paths)) {}

  bool autostartEnabled() const override { return autostart_.exists(); }
  Status enableAutostart() override { return autostart_.enable(program_); }
  Status disableAutostart() override { return autostart_.disable(); }
  bool serviceEnabled() const override { return unit_.enabled(); }
  Status enableService() override { return unit_.enable(); }
  Status disableService() override { return unit_.disable(); }

 private:
  std::filesystem::path program_;
  AutostartFile autostart_;
  SystemdUserUnit unit_;
};

// How a running recorder was started, from its control group: the unit runs it in
// "…/velto.service", and a desktop that starts autostart entries through systemd runs the
// entry in "…/app-velto@autostart.service". Anything else (a terminal, a desktop that starts
// entries itself) is `other`.
enum class RecorderOrigin { service, autostart, other };
std::string_view rawValue(RecorderOrigin origin);  // "service", "autostart", "other"
RecorderOrigin recorderOriginFromCgroup(std::string_view cgroupText);
// From /proc/<pid>/cgroup; none when it cannot be read.
std::optional<RecorderOrigin> recorderOrigin(int pid);

// Runs `argv` (argv[0] looked up in PATH) and waits; its exit status, with what it wrote to
// stdout and stderr, or an error when it could not be started.
struct ProgramRun {
  int exitStatus = 0;
  std::string output;
};
Result<ProgramRun> runProgram(const std::vector<std::string>& argv);

}  // namespace velto::platform
