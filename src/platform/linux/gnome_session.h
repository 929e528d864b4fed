// The session of GNOME on Wayland: Velto's Shell extension (gnome_extension.h) reports the
// focused window as the FocusChanged signal of org.velto.Shell and answers GetFocus; idle time
// comes from org.gnome.Mutter.IdleMonitor.
//
// Made for recording, the session first puts the extension in the user's extensions folder
// (when it is missing or differs) and asks the Shell to turn it on. A Shell that started before
// the extension was there cannot load it until the user logs out and in again: the session is
// then not connected, with the reason to show ("backend.none.gnomeExtension.logout", ...).
// Made for inspecting, it changes nothing and only says what it finds.
//
// Connected while the extension runs (its bus name has an owner), or is turned on in the Shell
// and about to; the extension leaving the bus is nothing in front until it is back.
//
// Thread: the loop's thread.
#pragma once

#include <string>

#include "platform/linux/backend_choice.h"
#include "platform/linux/bus_connection.h"
#include "platform/linux/event_loop.h"
#include "platform/linux/shell_windows.h"

namespace velto::platform {

class GnomeSession final : public ShellReportedSession {
 public:
  GnomeSession(EventLoop& loop, Scheduler& scheduler, SessionUse use);
  GnomeSession(const GnomeSession&) = delete;
  GnomeSession& operator=(const GnomeSession&) = delete;

  const char* name() const override { return "gnome"; }
  bool isConnected() const override { return connected_; }
  std::string unavailableReason() const override { return reason_; }
  bool hasIdleTime() const override { return hasIdleMonitor_; }
  const char* idleSource() const override {
    return hasIdleMonitor_ ? "Mutter IdleMonitor" : nullptr;
  }
  const char* processSource() const override { return connected_ ? "GNOME Shell" : nullptr; }
  // Asks the Shell (one round trip of at most 250 ms); 0 when it does not answer.
  double secondsSinceLastInput() override;

  // D-Bus entry points; not for other callers.
  void focusChanged(sd_bus_message* signal);
  void extensionOwnerChanged(const std::string& owner);

 private:
  void prepareExtension(SessionUse use);
  void askFocus();

  bus::Connection bus_;
  bus::Slot focusWatch_;
  bus::Slot ownerWatch_;
  std::string extensionOwner_;
  bool connected_ = false;
  bool hasIdleMonitor_ = false;
  std::string reason_;
};

}  // namespace velto::platform
