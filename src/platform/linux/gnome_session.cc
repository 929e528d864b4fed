#include "platform/linux/gnome_session.h"

#include <chrono>
#include <filesystem>
#include <optional>

#include "base/log.h"
#include "platform/linux/gnome_extension.h"
#include "platform/linux/shell_reports.h"

namespace velto::platform {

namespace {

constexpr const char* kExtensionName = "org.velto.Shell";
constexpr const char* kExtensionPath = "/org/velto/Shell";
constexpr const char* kIdleMonitor = "org.gnome.Mutter.IdleMonitor";
constexpr const char* kIdleMonitorPath = "/org/gnome/Mutter/IdleMonitor/Core";
constexpr std::chrono::milliseconds kCallTimeout{1000};
// Idle time is asked on the loop's thread every few seconds: a busy Shell must not stall it.
constexpr std::chrono::milliseconds kIdleTimeout{250};

GnomeSession* sessionOf(void* data) {
  return static_cast<GnomeSession*>(data);
}

int onFocusChanged(sd_bus_message* signal, void* data, sd_bus_error*) {
  sessionOf(data)->focusChanged(signal);
  return 0;
}

int onOwnerChanged(sd_bus_message* message, void* data, sd_bus_error*) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (sd_bus_message_read(message, "sss", &name, &before, &after) > 0 && after != nullptr) {
    sessionOf(data)->extensionOwnerChanged(after);
  }
  return 0;
}

const char* reasonFor(std::optional<GnomeExtensionState> state, bool installed) {
  if (!installed) return "backend.none.gnomeExtension.missing";
  if (!state) return "backend.none.gnomeExtension";
  switch (*state) {
    case GnomeExtensionState::unknown:
      return "backend.none.gnomeExtension.logout";
    case GnomeExtensionState::disabled:
      return "backend.none.gnomeExtension.disabled";
    case GnomeExtensionState::failed:
      return "backend.none.gnomeExtension.failed";
    case GnomeExtensionState::enabled:
      break;
  }
  return "backend.none.gnomeExtension";
}

}  // namespace

GnomeSession::GnomeSession(EventLoop& loop, Scheduler& scheduler, SessionUse use)
    : ShellReportedSession(scheduler,
                           DesktopEntryIndex::load(DesktopEntryIndex::applicationFolders())),
      bus_(bus::sessionBus(loop.event())) {
  if (!bus_) {
    log::error("No session bus: GNOME Shell cannot report windows");
    reason_ = "backend.none.gnomeExtension";
    return;
  }
  hasIdleMonitor_ = bus::nameHasOwner(bus_.get(), kIdleMonitor, kCallTimeout);
  sd_bus_slot* slot = nullptr;
  const std::string focus = std::string("type='signal',sender='") + kExtensionName + "',path='" +
                            kExtensionPath + "',interface='" + kExtensionName +
                            "',member='FocusChanged'";
  if (sd_bus_add_match(bus_.get(), &slot, focus.c_str(), onFocusChanged, this) >= 0) {
    focusWatch_.reset(slot);
  }
  slot = nullptr;
  const std::string owner =
      std::string(
          "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
          "member='NameOwnerChanged',arg0='") +
      kExtensionName + "'";
  if (sd_bus_add_match(bus_.get(), &slot, owner.c_str(), onOwnerChanged, this) >= 0) {
    ownerWatch_.reset(slot);
  }
  prepareExtension(use);
}

void GnomeSession::prepareExtension(SessionUse use) {
  const std::filesystem::path folder = gnomeExtensionFolder();
  if (use == SessionUse::recording) {
    const std::optional<int> major = gnomeShellMajor(bus_.get());
    if (!major) {
      log::error("GNOME Shell is not on the session bus: its windows cannot be followed");
    } else if (Result<bool> installed = installGnomeExtension(folder, *major); !installed) {
      log::error("Could not install the GNOME Shell extension: %{public}s", installed.error());
    } else if (*installed) {
      log::info("Installed the GNOME Shell extension in %{public}s", folder.string());
    }
  }
  std::optional<GnomeExtensionState> state = gnomeExtensionState(bus_.get());
  if (use == SessionUse::recording && state &&
      (*state == GnomeExtensionState::disabled || *state == GnomeExtensionState::failed)) {
    if (enableGnomeExtension(bus_.get())) state = gnomeExtensionState(bus_.get());
  }
  if (std::optional<std::string> running =
          bus::nameOwner(bus_.get(), kExtensionName, kCallTimeout)) {
    extensionOwner_ = *running;
    connected_ = true;
    askFocus();
    return;
  }
  // Turned on and about to own its name (the Shell is still starting).
  connected_ = state == GnomeExtensionState::enabled;
  if (!connected_) {
    reason_ = reasonFor(state, std::filesystem::exists(folder / "metadata.json"));
    log::error("GNOME Shell runs no Velto extension (%{public}s)", reason_);
  }
}

void GnomeSession::askFocus() {
  bus::Message call =
      bus::methodCall(bus_.get(), kExtensionName, kExtensionPath, kExtensionName, "GetFocus");
  bus::Message reply = bus::callBlocking(bus_.get(), call.get(), kCallTimeout);
  if (std::optional<ShellWindow> window = readWindowReport(reply.get())) reported(*window);
}

void GnomeSession::focusChanged(sd_bus_message* signal) {
  if (std::optional<ShellWindow> window = readWindowReport(signal)) reported(*window);
}

void GnomeSession::extensionOwnerChanged(const std::string& owner) {
  if (owner == extensionOwner_) return;
  extensionOwner_ = owner;
  if (owner.empty()) {
    log::info("The GNOME Shell extension left the session bus");
    lostShell();
    return;
  }
  connected_ = true;
  askFocus();
}

double GnomeSession::secondsSinceLastInput() {
  if (!hasIdleMonitor_) return 0;
  bus::Message call =
      bus::methodCall(bus_.get(), kIdleMonitor, kIdleMonitorPath, kIdleMonitor, "GetIdletime");
  bus::Message reply = bus::callBlocking(bus_.get(), call.get(), kIdleTimeout);
  std::uint64_t milliseconds = 0;
  if (!reply || bus::signatureOf(reply.get()) != "t" ||
      sd_bus_message_read(reply.get(), "t", &milliseconds) <= 0) {
    return 0;
  }
  return static_cast<double>(milliseconds) / 1000;
}

std::unique_ptr<DesktopSession> makeGnomeSession(EventLoop& loop, Scheduler& scheduler,
                                                 SessionUse use) {
  return std::make_unique<GnomeSession>(loop, scheduler, use);
}

}  // namespace velto::platform
