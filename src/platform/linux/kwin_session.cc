#include "platform/linux/kwin_session.h"

#include <unistd.h>

#include <chrono>
#include <cstring>
#include <optional>

#include "base/files.h"
#include "base/log.h"
#include "base/paths.h"
#include "platform/linux/backend_choice.h"
#include "platform/linux/shell_files.h"
#include "platform/linux/shell_reports.h"

namespace velto::platform {

namespace {

constexpr const char* kKWin = "org.kde.KWin";
constexpr const char* kScripting = "org.kde.kwin.Scripting";
constexpr const char* kScript = "org.kde.kwin.Script";
constexpr const char* kObjectPath = "/org/velto/KWin";
constexpr const char* kReports = "org.velto.WindowReports";
constexpr const char* kScriptFile = "kwin/velto-windows.js";
constexpr const char* kBusNamePlaceholder = "@RECORDER_BUS_NAME@";
// KWin answers in well under a millisecond; a hung KWin must not stall start-up for long.
constexpr std::chrono::milliseconds kCallTimeout{2000};

KWinSession* sessionOf(void* data) {
  return static_cast<KWinSession*>(data);
}

const sd_bus_vtable kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD(
        "Focused", "sssssi", "",
        [](sd_bus_message* call, void* data, sd_bus_error*) {
          return sessionOf(data)->focusedCalled(call);
        },
        SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD(
        "Closed", "s", "",
        [](sd_bus_message* call, void* data, sd_bus_error*) {
          return sessionOf(data)->closedCalled(call);
        },
        SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

int ownerChanged(sd_bus_message* message, void* data, sd_bus_error*) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (sd_bus_message_read(message, "sss", &name, &before, &after) > 0 && after != nullptr) {
    sessionOf(data)->kwinOwnerChanged(after);
  }
  return 0;
}

// The script with this connection's bus name filled in; none when the build lacks it.
std::optional<std::string> scriptFor(const std::string& busName) {
  const std::optional<std::string_view> shipped = shellFile(kScriptFile);
  if (!shipped) return std::nullopt;
  std::string script(*shipped);
  const size_t at = script.find(kBusNamePlaceholder);
  if (at == std::string::npos) return std::nullopt;
  script.replace(at, std::strlen(kBusNamePlaceholder), busName);
  return script;
}

}  // namespace

KWinSession::KWinSession(EventLoop& loop, Scheduler& scheduler)
    : ShellReportedSession(scheduler,
                           DesktopEntryIndex::load(DesktopEntryIndex::applicationFolders())),
      bus_(bus::sessionBus(loop.event())),
      scriptName_("velto-windows-" + std::to_string(::getpid())),
      scriptFile_(paths::sharedDir() / ("kwin-" + scriptName_ + ".js")) {
  if (!bus_) {
    log::error("No session bus: KWin cannot report windows");
    return;
  }
  const std::optional<std::string> owner = bus::nameOwner(bus_.get(), kKWin, kCallTimeout);
  if (!owner) {
    log::error("KWin is not on the session bus (%{public}s): windows cannot be followed",
               std::string(kKWin));
    return;
  }
  kwinOwner_ = *owner;
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_object_vtable(bus_.get(), &slot, kObjectPath, kReports, kVtable, this) < 0) {
    log::error("Cannot offer %{public}s on the session bus", std::string(kObjectPath));
    return;
  }
  object_.reset(slot);
  slot = nullptr;
  const std::string match =
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
      "member='NameOwnerChanged',arg0='" +
      std::string(kKWin) + "'";
  if (sd_bus_add_match(bus_.get(), &slot, match.c_str(), ownerChanged, this) >= 0) {
    ownerWatch_.reset(slot);
  }
  running_ = load();
  if (running_) idle_ = std::make_unique<WaylandIdleWatch>(loop);
}

KWinSession::~KWinSession() {
  unload();
}

bool KWinSession::load() {
  const char* unique = nullptr;
  if (sd_bus_get_unique_name(bus_.get(), &unique) < 0 || unique == nullptr) return false;
  const std::optional<std::string> script = scriptFor(unique);
  if (!script) {
    log::error("This build carries no KWin script");
    return false;
  }
  if (Status written = files::writeAtomically(scriptFile_, *script); !written) {
    log::error("Could not write the KWin script %{public}s: %{public}s", scriptFile_.string(),
               written.error());
    return false;
  }
  auto loadScript = [&]() -> std::optional<std::int32_t> {
    bus::Message call = bus::methodCall(bus_.get(), kKWin, "/Scripting", kScripting, "loadScript");
    if (!call ||
        sd_bus_message_append(call.get(), "ss", scriptFile_.c_str(), scriptName_.c_str()) < 0) {
      return std::nullopt;
    }
    std::string error;
    bus::Message reply = bus::callBlocking(bus_.get(), call.get(), kCallTimeout, &error);
    std::int32_t id = -1;
    if (!reply || bus::signatureOf(reply.get()) != "i" ||
        sd_bus_message_read(reply.get(), "i", &id) <= 0) {
      log::error("KWin did not load the window script: %{public}s", error);
      return std::nullopt;
    }
    return id;
  };
  std::optional<std::int32_t> id = loadScript();
  if (id && *id < 0) {
    // A script of this name is loaded already (a recorder of an earlier process of this pid).
    unload();
    id = loadScript();
  }
  if (!id || *id < 0) {
    log::error("KWin refused the window script %{public}s", scriptFile_.string());
    removeScriptFile();
    return false;
  }
  loaded_ = true;
  // Plasma 6 puts the script at /Scripting/Script<id>, Plasma 5.27 at /<id>.
  for (const std::string& path :
       {"/Scripting/Script" + std::to_string(*id), "/" + std::to_string(*id)}) {
    bus::Message call = bus::methodCall(bus_.get(), kKWin, path.c_str(), kScript, "run");
    if (call && bus::callBlocking(bus_.get(), call.get(), kCallTimeout)) {
      log::info("KWin runs the window script (%{public}s)", scriptName_);
      return true;
    }
  }
  log::error("KWin loaded the window script but did not run it");
  unload();
  return false;
}

void KWinSession::unload() {
  if (bus_ && loaded_) {
    bus::Message call =
        bus::methodCall(bus_.get(), kKWin, "/Scripting", kScripting, "unloadScript");
    if (call && sd_bus_message_append(call.get(), "s", scriptName_.c_str()) >= 0) {
      bus::callBlocking(bus_.get(), call.get(), kCallTimeout);
    }
  }
  loaded_ = false;
  removeScriptFile();
}

void KWinSession::removeScriptFile() {
  // KWin has read it by now; one left behind in the runtime folder goes with the session.
  std::error_code ignored;
  if (!scriptFile_.empty()) std::filesystem::remove(scriptFile_, ignored);
}

bool KWinSession::fromKWin(sd_bus_message* call) const {
  const char* sender = sd_bus_message_get_sender(call);
  return sender != nullptr && !kwinOwner_.empty() && kwinOwner_ == sender;
}

int KWinSession::focusedCalled(sd_bus_message* call) {
  if (!fromKWin(call)) {
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_ACCESS_DENIED, "Only KWin reports here");
  }
  const std::optional<ShellWindow> window = readWindowReport(call);
  if (!window) {
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "Not a window report");
  }
  reported(*window);
  return sd_bus_reply_method_return(call, "");
}

int KWinSession::closedCalled(sd_bus_message* call) {
  if (!fromKWin(call)) {
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_ACCESS_DENIED, "Only KWin reports here");
  }
  const char* key = nullptr;
  if (sd_bus_message_read(call, "s", &key) <= 0 || key == nullptr) {
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "Not a window key");
  }
  closed(key);
  return sd_bus_reply_method_return(call, "");
}

void KWinSession::kwinOwnerChanged(const std::string& owner) {
  if (owner == kwinOwner_) return;
  kwinOwner_ = owner;
  loaded_ = false;
  running_ = false;
  lostShell();
  if (owner.empty()) {
    log::error("KWin left the session bus; windows are not followed");
    return;
  }
  // A restarted KWin has no script of ours.
  running_ = load();
}

std::unique_ptr<DesktopSession> makeKWinSession(EventLoop& loop, Scheduler& scheduler) {
  return std::make_unique<KWinSession>(loop, scheduler);
}

}  // namespace velto::platform
