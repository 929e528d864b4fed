// AT-SPI objects on the accessibility bus, read through QtDBus as AccessibleElement.
//
// Every call is a blocking round trip bounded by one shared deadline, so a whole read (the
// registry, the application, the walk below its window) ends by then; a call after the
// deadline fails at once and timedOut() says so.
//
// Thread: the tab reader's worker; QDBusConnection is thread-safe and blocking calls need no
// event loop on the calling thread.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "context/accessible_tab_reader.h"

namespace velto::platform {

// A bus name and object path: AT-SPI's reference to an accessible object.
struct AtspiReference {
  QString service;
  QString path;
};

class AtspiCalls {
 public:
  AtspiCalls(QDBusConnection bus, std::chrono::steady_clock::time_point deadline)
      : bus_(std::move(bus)), deadline_(deadline) {}

  // The reply, or none when the call failed, timed out or the deadline has passed.
  std::optional<QDBusMessage> call(const AtspiReference& object, const QString& interface,
                                   const QString& method, const QList<QVariant>& arguments = {});

  std::vector<AtspiReference> children(const AtspiReference& object);
  std::optional<std::uint32_t> role(const AtspiReference& object);
  std::optional<std::vector<std::uint32_t>> states(const AtspiReference& object);
  std::optional<QString> name(const AtspiReference& object);
  // Gecko's DocURL or Chromium's URI of a document.
  std::optional<QString> documentAddress(const AtspiReference& object);
  std::optional<QString> text(const AtspiReference& object);
  // The process that owns `service` on the accessibility bus.
  std::optional<std::uint32_t> processId(const QString& service);

  bool timedOut() const { return timedOut_; }

 private:
  QDBusConnection bus_;
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
