#include "platform/linux/bus_connection.h"

#include <cstring>

#include "base/files.h"

namespace velto::platform::bus {

namespace {

Connection shared(int (*open)(sd_bus**), sd_event* event) {
  sd_bus* raw = nullptr;
  if (open(&raw) < 0) return nullptr;
  Connection connection(raw);
  if (!sd_bus_is_open(raw)) return nullptr;
  if (event != nullptr && sd_bus_get_event(raw) == nullptr) {
    sd_bus_attach_event(raw, event, SD_EVENT_PRIORITY_NORMAL);
  }
  return connection;
}

}  // namespace

Connection sessionBus(sd_event* event) {
  return shared(sd_bus_default_user, event);
}

Connection systemBus(sd_event* event) {
  return shared(sd_bus_default_system, event);
}

Connection openSessionBus() {
  sd_bus* raw = nullptr;
  if (sd_bus_open_user(&raw) < 0) return nullptr;
  return Connection(raw);
}

Connection connectTo(const std::string& address) {
  sd_bus* raw = nullptr;
  if (sd_bus_new(&raw) < 0) return nullptr;
  Connection connection(raw);
  if (sd_bus_set_address(raw, address.c_str()) < 0 || sd_bus_set_bus_client(raw, 1) < 0 ||
      sd_bus_start(raw) < 0) {
    return nullptr;
  }
  return connection;
}

Message methodCall(sd_bus* bus, const char* service, const char* path, const char* interface,
                   const char* member) {
  if (bus == nullptr) return nullptr;
  sd_bus_message* raw = nullptr;
  if (sd_bus_message_new_method_call(bus, &raw, service, path, interface, member) < 0) {
    return nullptr;
  }
  return Message(raw);
}

Message callBlocking(sd_bus* bus, sd_bus_message* call, std::chrono::milliseconds timeout,
                     std::string* error) {
  if (bus == nullptr || call == nullptr) {
    if (error != nullptr) *error = "no bus";
    return nullptr;
  }
  sd_bus_error failure = SD_BUS_ERROR_NULL;
  sd_bus_message* reply = nullptr;
  // sd-bus takes 0 as "the default timeout" (25 s): the shortest real wait is 1 µs.
  const auto usec = std::max<std::uint64_t>(
      1, static_cast<std::uint64_t>(std::max<std::int64_t>(0, timeout.count())) * 1000u);
  const int called = sd_bus_call(bus, call, usec, &failure, &reply);
  if (called < 0) {
    if (error != nullptr) {
      *error =
          failure.message != nullptr ? std::string(failure.message) : files::errnoText(-called);
    }
    sd_bus_error_free(&failure);
    return nullptr;
  }
  sd_bus_error_free(&failure);
  return Message(reply);
}

bool nameHasOwner(sd_bus* bus, const char* name, std::chrono::milliseconds timeout) {
  Message call = methodCall(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                            "org.freedesktop.DBus", "NameHasOwner");
  if (!call || sd_bus_message_append(call.get(), "s", name) < 0) return false;
  Message reply = callBlocking(bus, call.get(), timeout);
  int owned = 0;
  return reply && signatureOf(reply.get()) == "b" &&
         sd_bus_message_read(reply.get(), "b", &owned) > 0 && owned != 0;
}

std::optional<std::string> nameOwner(sd_bus* bus, const char* name,
                                     std::chrono::milliseconds timeout) {
  Message call = methodCall(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                            "org.freedesktop.DBus", "GetNameOwner");
  if (!call || sd_bus_message_append(call.get(), "s", name) < 0) return std::nullopt;
  Message reply = callBlocking(bus, call.get(), timeout);
  return readString(reply.get());
}

std::string signatureOf(sd_bus_message* message) {
  const char* signature = sd_bus_message_get_signature(message, 1);
  return signature != nullptr ? std::string(signature) : std::string();
}

std::optional<std::uint32_t> readUint32(sd_bus_message* reply) {
  std::uint32_t value = 0;
  if (reply == nullptr || signatureOf(reply) != "u" ||
      sd_bus_message_read(reply, "u", &value) <= 0) {
    return std::nullopt;
  }
  return value;
}

std::optional<std::string> readString(sd_bus_message* reply) {
  if (reply == nullptr) return std::nullopt;
  const std::string signature = signatureOf(reply);
  if (signature != "s" && signature != "o") return std::nullopt;
  const char* value = nullptr;
  if (sd_bus_message_read_basic(reply, signature[0], &value) <= 0 || value == nullptr) {
    return std::nullopt;
  }
  return std::string(value);
}

}  // namespace velto::platform::bus
