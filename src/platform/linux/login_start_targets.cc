#include "platform/linux/login_start_targets.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "base/files.h"
#include "base/paths.h"

extern char** environ;

namespace velto::platform {

namespace {

constexpr std::string_view kUnit = "velto.service";
// The first line of a unit this program wrote, so that disabling removes only its own.
constexpr std::string_view kWrittenMark = "# Written by Velto when starting at log-in was chosen.";

std::string execQuoted(const std::filesystem::path& program) {
  // systemd's quoting: double quotes, with " and \ escaped; % doubled (specifier character).
  std::string out = "\"";
  for (char c : program.string()) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '%') out += '%';
    out += c;
  }
  return out + "\"";
}

}  // namespace

LoginStartPaths LoginStartPaths::forUser(std::filesystem::path program) {
  const std::filesystem::path config = paths::configHome();
  LoginStartPaths paths;
  paths.installedUnit =
      (program.parent_path() / ".." / "lib" / "systemd" / "user" / kUnit).lexically_normal();
  paths.program = std::move(program);
  paths.autostartFile = config / "autostart" / "velto.desktop";
  paths.userUnitFolder = config / "systemd" / "user";
  return paths;
}

std::filesystem::path veltoNextToThisProgram() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path("velto") : self.parent_path() / "velto";
}

std::string SystemdUserUnit::unitText(const std::filesystem::path& program) {
  return std::string(kWrittenMark) +
         "\n[Unit]\nDescription=Velto screen-time recorder\nDocumentation=man:velto(1)\n"
         "PartOf=graphical-session.target\nAfter=graphical-session.target\n\n"
         "[Service]\nExecStart=" +
         execQuoted(program) +
         " record\nRestart=on-failure\nRestartSec=5\n\n"
         "[Install]\nWantedBy=graphical-session.target\n";
}

bool SystemdUserUnit::enabled() const {
  std::error_code error;
  return std::filesystem::is_symlink(
      paths_.userUnitFolder / "graphical-session.target.wants" / kUnit, error);
}

Status SystemdUserUnit::enable() const {
  std::error_code error;
  if (!std::filesystem::is_regular_file(paths_.installedUnit, error)) {
    if (Status made = files::ensureDirectory(paths_.userUnitFolder); !made) return made;
    const Status written =
        files::writeAtomically(paths_.userUnitFolder / kUnit, unitText(paths_.program), 0644);
    if (!written) return written;
  }
  return systemctl("enable");
}

Status SystemdUserUnit::disable() const {
  if (Status off = systemctl("disable"); !off) return off;
  const std::filesystem::path own = paths_.userUnitFolder / kUnit;
  const Result<std::string> text = files::readAll(own);
  if (text && text->starts_with(kWrittenMark)) return files::remove(own);
  return {};
}

Status SystemdUserUnit::systemctl(std::string_view verb) const {
  const Result<ProgramRun> run =
      runProgram({paths_.systemctl, "--user", std::string(verb), std::string(kUnit)});
  if (!run) return Error{run.error()};
  if (run->exitStatus != 0) {
    std::string said = run->output;
    while (!said.empty() && (said.back() == '\n' || said.back() == ' ')) said.pop_back();
    return Error{"systemctl --user " + std::string(verb) + " " + std::string(kUnit) + " failed (" +
                 std::to_string(run->exitStatus) + ")" + (said.empty() ? "" : ": " + said)};
  }
  return {};
}

std::string_view rawValue(RecorderOrigin origin) {
  switch (origin) {
    case RecorderOrigin::service:
      return "service";
    case RecorderOrigin::autostart:
      return "autostart";
    case RecorderOrigin::other:
      break;
  }
  return "other";
}

RecorderOrigin recorderOriginFromCgroup(std::string_view text) {
  // One line per hierarchy, "id:controllers:path"; the unit is the path's last part.
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(start, end - start);
    start = end + 1;
    const size_t slash = line.rfind('/');
    if (slash == std::string_view::npos) continue;
    const std::string_view unit = line.substr(slash + 1);
    if (unit == kUnit) return RecorderOrigin::service;
    if (unit == "app-velto@autostart.service") return RecorderOrigin::autostart;
  }
  return RecorderOrigin::other;
}

std::optional<RecorderOrigin> recorderOrigin(int pid) {
  const Result<std::string> text =
      files::readAll(std::filesystem::path("/proc") / std::to_string(pid) / "cgroup");
  if (!text) return std::nullopt;
  return recorderOriginFromCgroup(*text);
}

Result<ProgramRun> runProgram(const std::vector<std::string>& argv) {
  int pipe[2];
  if (::pipe2(pipe, O_CLOEXEC) != 0) return Error{files::errnoText(errno)};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, pipe[1], STDERR_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  pid_t child = 0;
  const int spawned = ::posix_spawnp(&child, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(pipe[1]);
  if (spawned != 0) {
    ::close(pipe[0]);
    return Error{argv.front() + ": " + files::errnoText(spawned)};
  }
  ProgramRun run;
  char buffer[1024];
  for (;;) {
    const ssize_t got = ::read(pipe[0], buffer, sizeof buffer);
    if (got > 0) {
      run.output.append(buffer, static_cast<size_t>(got));
    } else if (got == 0 || errno != EINTR) {
      break;
    }
  }
  ::close(pipe[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  run.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return run;
}

}  // namespace velto::platform
