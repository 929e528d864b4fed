#include "platform/linux/dbus_session_watch.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "base/log.h"

namespace velto::platform {

namespace {

constexpr const char* kLogind = "org.freedesktop.login1";
constexpr const char* kLogindPath = "/org/freedesktop/login1";
constexpr const char* kManager = "org.freedesktop.login1.Manager";
constexpr const char* kSession = "org.freedesktop.login1.Session";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
// Round trips to logind at start-up are bounded so a hung bus cannot stall the recorder.
constexpr std::chrono::milliseconds kCallTimeout{1000};

// Reads one boolean out of a variant, leaving the message after it; none when the variant
// holds another type (it is skipped then).
std::optional<bool> readBoolVariant(sd_bus_message* message) {
  char type = 0;
  const char* contents = nullptr;
  if (sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != 'v') return std::nullopt;
  if (contents == nullptr || std::strcmp(contents, "b") != 0) {
    sd_bus_message_skip(message, "v");
    return std::nullopt;
  }
  int value = 0;
  if (sd_bus_message_read(message, "v", "b", &value) <= 0) return std::nullopt;
  return value != 0;
}

}  // namespace

std::optional<SessionPropertyChange> parseSessionPropertiesChanged(sd_bus_message* message) {
  if (bus::signatureOf(message) != "sa{sv}as") return std::nullopt;
  const char* interface = nullptr;
  if (sd_bus_message_read(message, "s", &interface) <= 0 || interface == nullptr ||
      std::strcmp(interface, kSession) != 0) {
    return std::nullopt;
  }
  SessionPropertyChange change;
  if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) return std::nullopt;
  while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
    const char* name = nullptr;
    if (sd_bus_message_read(message, "s", &name) <= 0) return std::nullopt;
    if (std::strcmp(name, "LockedHint") == 0) {
      change.lockedHint = readBoolVariant(message);
    } else if (std::strcmp(name, "Active") == 0) {
      change.active = readBoolVariant(message);
    } else if (sd_bus_message_skip(message, "v") < 0) {
      return std::nullopt;
    }
    if (sd_bus_message_exit_container(message) < 0) return std::nullopt;
  }
  if (sd_bus_message_exit_container(message) < 0) return std::nullopt;
  char** invalidated = nullptr;
  if (sd_bus_message_read_strv(message, &invalidated) < 0) return std::nullopt;
  for (char** name = invalidated; name != nullptr && *name != nullptr; ++name) {
    change.invalidated.emplace_back(*name);
    std::free(*name);
  }
  std::free(invalidated);
  return change;
}

std::vector<SessionSignal> sessionSignals(const SessionPropertyChange& change) {
  std::vector<SessionSignal> signals;
  if (change.lockedHint) {
    signals.push_back(*change.lockedHint ? SessionSignal::screenLocked
                                         : SessionSignal::screenUnlocked);
  }
  if (change.active) {
    signals.push_back(*change.active ? SessionSignal::sessionDidBecomeActive
                                     : SessionSignal::sessionDidResignActive);
  }
  return signals;
}

DbusSessionWatch::DbusSessionWatch(EventLoop& loop, std::function<void(SessionSignal)> signal)
    : signal_(std::move(signal)) {
  auto match = [this](sd_bus* bus, const char* sender, const char* path, const char* interface,
                      const char* member, sd_bus_message_handler_t handler) {
    sd_bus_slot* slot = nullptr;
    // Asynchronous, so that start-up does not wait for the bus to confirm each match.
    if (sd_bus_match_signal_async(bus, &slot, sender, path, interface, member, handler, nullptr,
                                  this) >= 0) {
      matches_.emplace_back(slot);
    }
  };

  system_ = bus::systemBus(loop.event());
  if (system_ && bus::nameHasOwner(system_.get(), kLogind, kCallTimeout)) {
    hasLogind_ = true;
    match(system_.get(), kLogind, kLogindPath, kManager, "PrepareForSleep",
          [](sd_bus_message* message, void* self, sd_bus_error*) {
            int sleeping = 0;
            if (sd_bus_message_read(message, "b", &sleeping) > 0) {
              static_cast<DbusSessionWatch*>(self)->deliver(sleeping ? SessionSignal::willSleep
                                                                     : SessionSignal::didWake);
            }
            return 0;
          });
    sessionPath_ = findSessionPath();
    if (!sessionPath_.empty()) {
      match(system_.get(), kLogind, sessionPath_.c_str(), kProperties, "PropertiesChanged",
            [](sd_bus_message* message, void* self, sd_bus_error*) {
              static_cast<DbusSessionWatch*>(self)->sessionPropertiesChanged(message);
              return 0;
            });
    }
  }

  session_ = bus::sessionBus(loop.event());
  if (session_) {
    auto screenSaver = [](sd_bus_message* message, void* self, sd_bus_error*) {
      int active = 0;
      if (sd_bus_message_read(message, "b", &active) > 0) {
        static_cast<DbusSessionWatch*>(self)->deliver(active ? SessionSignal::screenSaverStarted
                                                             : SessionSignal::screenSaverStopped);
      }
      return 0;
    };
    match(session_.get(), nullptr, "/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver",
          "ActiveChanged", screenSaver);
    match(session_.get(), nullptr, "/org/gnome/ScreenSaver", "org.gnome.ScreenSaver",
          "ActiveChanged", screenSaver);
  }
}

std::string DbusSessionWatch::findSessionPath() {
  auto ask = [this](const char* method, const char* types, auto... arguments) {
    bus::Message call = bus::methodCall(system_.get(), kLogind, kLogindPath, kManager, method);
    if (!call || sd_bus_message_append(call.get(), types, arguments...) < 0) {
      return std::optional<std::string>();
    }
    bus::Message reply = bus::callBlocking(system_.get(), call.get(), kCallTimeout);
    return reply ? bus::readString(reply.get()) : std::nullopt;
  };
  if (const char* id = std::getenv("XDG_SESSION_ID"); id != nullptr && *id != '\0') {
    if (std::optional<std::string> path = ask("GetSession", "s", id)) return *path;
  }
  if (std::optional<std::string> path =
          ask("GetSessionByPID", "u", static_cast<std::uint32_t>(::getpid()))) {
    return *path;
  }
  if (std::optional<std::string> path = ask("GetSession", "s", "auto")) return *path;
  log::info("No logind session for this process; lock and session switches are not seen");
  return {};
}

void DbusSessionWatch::sessionPropertiesChanged(sd_bus_message* message) {
  std::optional<SessionPropertyChange> change = parseSessionPropertiesChanged(message);
  if (!change || !signal_) return;
  for (const std::string& name : change->invalidated) {
    if (name != "LockedHint" && name != "Active") continue;
    bus::Message call =
        bus::methodCall(system_.get(), kLogind, sessionPath_.c_str(), kProperties, "Get");
    if (!call || sd_bus_message_append(call.get(), "ss", kSession, name.c_str()) < 0) continue;
    bus::Message reply = bus::callBlocking(system_.get(), call.get(), kCallTimeout);
    if (!reply) continue;
    if (std::optional<bool> value = readBoolVariant(reply.get())) {
      (name == "LockedHint" ? change->lockedHint : change->active) = value;
    }
  }
  for (SessionSignal signal : sessionSignals(*change)) deliver(signal);
}

void DbusSessionWatch::deliver(SessionSignal signal) {
  if (signal_) signal_(signal);
}

}  // namespace velto::platform
