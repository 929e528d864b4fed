#include "platform/linux/atspi_accessible.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

#include "platform/linux/atspi_mapping.h"

namespace velto::platform {

namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kDocument = "org.a11y.atspi.Document";

}  // namespace

bus::Message AtspiCalls::send(sd_bus_message* message) {
  using namespace std::chrono;
  const auto left = duration_cast<milliseconds>(deadline_ - steady_clock::now());
  if (left.count() <= 0) {
    timedOut_ = true;
    return nullptr;
  }
  bus::Message reply = bus::callBlocking(bus_, message, left);
  if (!reply && steady_clock::now() >= deadline_) timedOut_ = true;
  return reply;
}

std::vector<AtspiReference> AtspiCalls::children(const AtspiReference& object) {
  std::vector<AtspiReference> found;
  bus::Message reply = call(object, kAccessible, "GetChildren");
  if (!reply || bus::signatureOf(reply.get()) != "a(so)") return found;
  if (sd_bus_message_enter_container(reply.get(), 'a', "(so)") < 0) return found;
  const char* service = nullptr;
  const char* path = nullptr;
  while (sd_bus_message_read(reply.get(), "(so)", &service, &path) > 0) {
    found.push_back({service, path});
  }
  return found;
}

std::optional<std::uint32_t> AtspiCalls::role(const AtspiReference& object) {
  bus::Message reply = call(object, kAccessible, "GetRole");
  return bus::readUint32(reply.get());
}

std::optional<std::vector<std::uint32_t>> AtspiCalls::states(const AtspiReference& object) {
  bus::Message reply = call(object, kAccessible, "GetState");
  if (!reply || bus::signatureOf(reply.get()) != "au") return std::nullopt;
  const void* data = nullptr;
  size_t size = 0;
  if (sd_bus_message_read_array(reply.get(), 'u', &data, &size) < 0) return std::nullopt;
  const auto* words = static_cast<const std::uint32_t*>(data);
  return std::vector<std::uint32_t>(words, words + size / sizeof(std::uint32_t));
}

std::optional<std::string> AtspiCalls::name(const AtspiReference& object) {
  bus::Message reply =
      call(object, "org.freedesktop.DBus.Properties", "Get", "ss", kAccessible, "Name");
  if (!reply || bus::signatureOf(reply.get()) != "v") return std::nullopt;
  const char* value = nullptr;
  if (sd_bus_message_read(reply.get(), "v", "s", &value) <= 0 || value == nullptr) {
    return std::nullopt;
  }
  return std::string(value);
}

std::optional<std::string> AtspiCalls::documentAddress(const AtspiReference& object) {
  if (bus::Message reply = call(object, kDocument, "GetAttributes");
      reply && bus::signatureOf(reply.get()) == "a{ss}") {
    std::map<std::string, std::string> attributes;
    if (sd_bus_message_enter_container(reply.get(), 'a', "{ss}") >= 0) {
      const char* key = nullptr;
      const char* value = nullptr;
      while (sd_bus_message_read(reply.get(), "{ss}", &key, &value) > 0) {
        attributes.emplace(key, value);
      }
    }
    return atspi::documentAddress(attributes);
  }
  // Some toolkits answer only the single-attribute call.
  bus::Message reply = call(object, kDocument, "GetAttributeValue", "s", "DocURL");
  std::optional<std::string> address = bus::readString(reply.get());
  if (!address || address->empty()) return std::nullopt;
  return address;
}

std::optional<std::string> AtspiCalls::text(const AtspiReference& object) {
  bus::Message reply = call(object, "org.a11y.atspi.Text", "GetText", "ii", 0, -1);
  if (!reply || bus::signatureOf(reply.get()) != "s") return std::nullopt;
  return bus::readString(reply.get());
}

std::optional<std::uint32_t> AtspiCalls::processId(const std::string& service) {
  bus::Message reply =
      call({"org.freedesktop.DBus", "/org/freedesktop/DBus"}, "org.freedesktop.DBus",
           "GetConnectionUnixProcessID", "s", service.c_str());
  return bus::readUint32(reply.get());
}

AccessibleElement::Role AtspiElement::role() const {
  const std::optional<std::uint32_t> raw = calls_.role(reference_);
  if (!raw) return Role::other;
  const Role role = atspi::roleOf(*raw);
  if (role == Role::webArea && !url()) return Role::other;
  return role;
}

std::optional<std::string> AtspiElement::title() const {
  return calls_.name(reference_);
}

std::optional<std::string> AtspiElement::url() const {
  if (!address_) address_ = calls_.documentAddress(reference_);
  return *address_;
}

std::optional<std::string> AtspiElement::value() const {
  return calls_.text(reference_);
}

std::vector<std::unique_ptr<AccessibleElement>> AtspiElement::children() const {
  std::vector<std::unique_ptr<AccessibleElement>> elements;
  for (AtspiReference& child : calls_.children(reference_)) {
    elements.push_back(std::make_unique<AtspiElement>(calls_, std::move(child)));
  }
  return elements;
}

}  // namespace velto::platform
