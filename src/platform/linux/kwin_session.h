// The session of KDE Plasma on Wayland: KWin runs Velto's window script
// (resources/desktop-shells/kwin), loaded at start-up through KWin's scripting interface on the
// session bus and unloaded again when the session ends. The script calls this session's object
// (/org/velto/KWin, org.velto.WindowReports: Focused(sssssi), Closed(s)) on this process's own
// bus name; calls from anyone but KWin are refused. Idle time comes from KWin's Wayland idle
// notification.
//
// Not connected when KWin is not on the session bus or refuses the script (the log says why);
// the backend choice then says "backend.none.kwinScript".
//
// Thread: the loop's thread.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/linux/bus_connection.h"
#include "platform/linux/event_loop.h"
#include "platform/linux/shell_windows.h"
#include "platform/linux/wayland_idle.h"

namespace velto::platform {

class KWinSession final : public ShellReportedSession {
 public:
  KWinSession(EventLoop& loop, Scheduler& scheduler);
  ~KWinSession() override;
  KWinSession(const KWinSession&) = delete;
  KWinSession& operator=(const KWinSession&) = delete;

  const char* name() const override { return "kwin"; }
  bool isConnected() const override { return running_; }
  bool hasIdleTime() const override { return idleSource() != nullptr; }
  const char* idleSource() const override { return idle_ ? idle_->source() : nullptr; }
  const char* processSource() const override { return running_ ? "KWin" : nullptr; }
  double secondsSinceLastInput() override { return idle_ ? idle_->secondsSinceLastInput() : 0; }

  // D-Bus entry points; not for other callers. Each answers the call (an error for a caller
  // that is not KWin, or a malformed report).
  int focusedCalled(sd_bus_message* call);
  int closedCalled(sd_bus_message* call);
  // KWin's bus name has a new owner (empty: none).
  void kwinOwnerChanged(const std::string& owner);

 private:
  bool fromKWin(sd_bus_message* call) const;
  bool load();
  void unload();
  void removeScriptFile();

  bus::Connection bus_;
  bus::Slot object_;
  bus::Slot ownerWatch_;
  std::string kwinOwner_;
  std::string scriptName_;
  std::filesystem::path scriptFile_;
  bool loaded_ = false;
  bool running_ = false;
  std::unique_ptr<WaylandIdleWatch> idle_;
};

}  // namespace velto::platform
