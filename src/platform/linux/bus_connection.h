// Small owners and helpers over sd-bus: references to connections, match slots and messages,
// the calling thread's shared connections to the session and system buses, and blocking
// method calls with a timeout.
//
// Thread: an sd-bus connection belongs to the thread that opened it; sessionBus() and
// systemBus() hand out that thread's own shared connection.
#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace velto::platform::bus {

struct ConnectionUnref {
  void operator()(sd_bus* bus) const { sd_bus_unref(bus); }
};
struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Connection = std::unique_ptr<sd_bus, ConnectionUnref>;
using Slot = std::unique_ptr<sd_bus_slot, SlotUnref>;
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

// The calling thread's connection to the session (system) bus, shared with every other user on
// this thread; attached to `event` when given and the connection is not attached yet, so that
// signals and asynchronous replies are dispatched there. Null when the bus cannot be reached.
Connection sessionBus(sd_event* event = nullptr);
Connection systemBus(sd_event* event = nullptr);

// A private connection to the session bus, not shared with anyone; null when it fails.
Connection openSessionBus();

// A private connection to the bus at `address` (a D-Bus address string); null when it fails.
Connection connectTo(const std::string& address);

// A method call to fill with sd_bus_message_append; null when `bus` is null or the names are
// not valid.
Message methodCall(sd_bus* bus, const char* service, const char* path, const char* interface,
                   const char* member);

// Sends `call` and waits up to `timeout` for the reply. The reply, or none with the bus's error
// text in `error` (when given).
Message callBlocking(sd_bus* bus, sd_bus_message* call, std::chrono::milliseconds timeout,
                     std::string* error = nullptr);

// Whether some connection owns `name` on `bus` right now (asked within `timeout`).
bool nameHasOwner(sd_bus* bus, const char* name, std::chrono::milliseconds timeout);

// The unique name (":1.42") that owns `name` on `bus` right now; none when no one does.
std::optional<std::string> nameOwner(sd_bus* bus, const char* name,
                                     std::chrono::milliseconds timeout);

// The message's full signature ("" when it has no body).
std::string signatureOf(sd_bus_message* message);

// The single basic value of a reply whose signature is exactly that value's type.
std::optional<std::uint32_t> readUint32(sd_bus_message* reply);
std::optional<std::string> readString(sd_bus_message* reply);  // "s" or "o"

}  // namespace velto::platform::bus
