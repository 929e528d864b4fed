#include "platform/linux/desktop_notifications.h"

#include <chrono>

namespace velto::platform {

namespace {

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";
constexpr std::chrono::milliseconds kCallTimeout{2000};

}  // namespace

DesktopNotifications::DesktopNotifications(EventLoop& loop, std::string appName)
    : appName_(std::move(appName)), bus_(bus::sessionBus(loop.event())) {
  if (!bus_) return;
  sd_bus_slot* slot = nullptr;
  if (sd_bus_match_signal_async(
          bus_.get(), &slot, kService, kPath, kService, "ActionInvoked",
          [](sd_bus_message* message, void* self, sd_bus_error*) {
            std::uint32_t serverId = 0;
            const char* action = nullptr;
            if (sd_bus_message_read(message, "us", &serverId, &action) > 0) {
              static_cast<DesktopNotifications*>(self)->actionInvoked(serverId, action);
            }
            return 0;
          },
          nullptr, this) >= 0) {
    matches_.emplace_back(slot);
  }
  if (sd_bus_match_signal_async(
          bus_.get(), &slot, kService, kPath, kService, "NotificationClosed",
          [](sd_bus_message* message, void* self, sd_bus_error*) {
            std::uint32_t serverId = 0;
            std::uint32_t reason = 0;
            if (sd_bus_message_read(message, "uu", &serverId, &reason) > 0) {
              static_cast<DesktopNotifications*>(self)->notificationClosed(serverId);
            }
            return 0;
          },
          nullptr, this) >= 0) {
    matches_.emplace_back(slot);
  }
}

bool DesktopNotifications::isAuthorised() const {
  return bus_ && bus::nameHasOwner(bus_.get(), kService, kCallTimeout);
}

Status DesktopNotifications::post(const std::string& id, const std::string& title,
                                  const std::string& body) {
  if (!bus_) return Error{"no session bus"};
  std::uint32_t replaces = 0;
  if (auto found = byId_.find(id); found != byId_.end()) replaces = found->second;
  bus::Message call = bus::methodCall(bus_.get(), kService, kPath, kService, "Notify");
  if (!call ||
      sd_bus_message_append(call.get(), "susss", appName_.c_str(), replaces, "", title.c_str(),
                            body.c_str()) < 0 ||
      sd_bus_message_append(call.get(), "as", 2, "default", "") < 0 ||
      sd_bus_message_append(call.get(), "a{sv}", 1, "desktop-entry", "s", "velto") < 0 ||
      sd_bus_message_append(call.get(), "i", -1) < 0) {
    return Error{"cannot build the notification"};
  }
  std::string error;
  bus::Message reply = bus::callBlocking(bus_.get(), call.get(), kCallTimeout, &error);
  if (!reply) return Error{error};
  const std::optional<std::uint32_t> serverId = bus::readUint32(reply.get());
  if (!serverId) return Error{"unexpected reply from the notification server"};
  if (replaces != 0 && replaces != *serverId) byServerId_.erase(replaces);
  byServerId_[*serverId] = id;
  byId_[id] = *serverId;
  return Status::success();
}

void DesktopNotifications::withdraw(const std::string& id) {
  auto found = byId_.find(id);
  if (found == byId_.end() || !bus_) return;
  bus::Message call = bus::methodCall(bus_.get(), kService, kPath, kService, "CloseNotification");
  if (call && sd_bus_message_append(call.get(), "u", found->second) >= 0) {
    // Not waited for: the loop sends it and drops the reply.
    sd_bus_call_async(bus_.get(), nullptr, call.get(), nullptr, nullptr, 0);
  }
  byServerId_.erase(found->second);
  byId_.erase(found);
}

void DesktopNotifications::actionInvoked(std::uint32_t serverId, const std::string& action) {
  if (action != "default") return;
  auto found = byServerId_.find(serverId);
  if (found == byServerId_.end()) return;
  if (onActivated) onActivated(found->second);
}

void DesktopNotifications::notificationClosed(std::uint32_t serverId) {
  auto found = byServerId_.find(serverId);
  if (found == byServerId_.end()) return;
  byId_.erase(found->second);
  byServerId_.erase(found);
}

}  // namespace velto::platform
