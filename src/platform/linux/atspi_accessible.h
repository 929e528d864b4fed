// AT-SPI objects on the accessibility bus, read through sd-bus as AccessibleElement.
//
// Every call is a blocking round trip bounded by one shared deadline, so a whole read (the
// registry, the application, the walk below its window) ends by then; a call after the
// deadline fails at once and timedOut() says so.
//
// Thread: the tab reader's worker, which owns the connection; blocking calls need no event
// loop.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "context/accessible_tab_reader.h"
#include "platform/linux/bus_connection.h"

namespace velto::platform {

// A bus name and object path: AT-SPI's reference to an accessible object.
struct AtspiReference {
  std::string service;
  std::string path;
};

class AtspiCalls {
 public:
  // `bus` must outlive this object.
  AtspiCalls(sd_bus* bus, std::chrono::steady_clock::time_point deadline)
      : bus_(bus), deadline_(deadline) {}

  // The reply, or none when the call failed, timed out or the deadline has passed.
  // `types` and the arguments go to sd_bus_message_append.
  template <typename... Arguments>
  bus::Message call(const AtspiReference& object, const char* interface, const char* method,
                    const char* types = nullptr, Arguments... arguments) {
    bus::Message message =
        bus::methodCall(bus_, object.service.c_str(), object.path.c_str(), interface, method);
    if (!message) return nullptr;
    if (types != nullptr && sd_bus_message_append(message.get(), types, arguments...) < 0) {
      return nullptr;
    }
    return send(message.get());
  }

  std::vector<AtspiReference> children(const AtspiReference& object);
  std::optional<std::uint32_t> role(const AtspiReference& object);
  std::optional<std::vector<std::uint32_t>> states(const AtspiReference& object);
  std::optional<std::string> name(const AtspiReference& object);
  // Gecko's DocURL or Chromium's URI of a document.
  std::optional<std::string> documentAddress(const AtspiReference& object);
  std::optional<std::string> text(const AtspiReference& object);
  // The process that owns `service` on the accessibility bus.
  std::optional<std::uint32_t> processId(const std::string& service);

  bool timedOut() const { return timedOut_; }

 private:
  bus::Message send(sd_bus_message* message);

  sd_bus* bus_;
  std::chrono::steady_clock::time_point deadline_;
  bool timedOut_ = false;
};

// One object of an application's tree. `calls` is shared by every element of one read and
// must outlive them.
class AtspiElement final : public AccessibleElement {
 public:
  AtspiElement(AtspiCalls& calls, AtspiReference reference)
      : calls_(calls), reference_(std::move(reference)) {}

  // A document is a web area only when it has an address; one without (an empty frame, the
  // browser's own interface) is searched through.
  Role role() const override;
  std::optional<std::string> title() const override;
  std::optional<std::string> url() const override;
  std::optional<std::string> value() const override;
  std::vector<std::unique_ptr<AccessibleElement>> children() const override;

 private:
  AtspiCalls& calls_;
  AtspiReference reference_;
  mutable std::optional<std::optional<std::string>> address_;  // asked once
};

}  // namespace velto::platform
