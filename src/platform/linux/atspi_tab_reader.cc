#include "platform/linux/atspi_tab_reader.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <chrono>
#include <map>

#include "context/accessible_tab_reader.h"
#include "platform/linux/atspi_accessible.h"
#include "platform/linux/atspi_mapping.h"

namespace velto::platform {

namespace {

using SteadyClock = std::chrono::steady_clock;

const QString kA11yBus = QStringLiteral("org.a11y.Bus");
const QString kA11yBusPath = QStringLiteral("/org/a11y/bus");
const QString kConnectionName = QStringLiteral("velto-atspi");

std::optional<QString> accessibilityBusAddress(int timeoutMs) {
  QDBusConnection session = QDBusConnection::sessionBus();
  if (!session.isConnected() || timeoutMs <= 0) return std::nullopt;
  QDBusMessage reply = session.call(QDBusMessage::createMethodCall(kA11yBus, kA11yBusPath, kA11yBus,
                                                                   QStringLiteral("GetAddress")),
                                    QDBus::Block, timeoutMs);
  if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QStringLiteral("s")) {
    return std::nullopt;
  }
  QString address = reply.arguments().value(0).toString();
  if (address.isEmpty()) return std::nullopt;
  return address;
}

int millisecondsLeft(SteadyClock::time_point deadline) {
  using namespace std::chrono;
  return static_cast<int>(duration_cast<milliseconds>(deadline - SteadyClock::now()).count());
}

// What the worker keeps between reads: the address of the bus it is connected to, and the
// process owning each application's bus name (names are never reused on one bus).
struct BusMemory {
  QString address;
  std::map<QString, std::uint32_t> owners;
};

// The connection to the accessibility bus at `address`, made again when the address changed
// or the bus went away.
QDBusConnection accessibilityBus(const QString& address, BusMemory& memory) {
  {
    QDBusConnection existing(kConnectionName);
    if (existing.isConnected() && memory.address == address) return existing;
  }
  QDBusConnection::disconnectFromBus(kConnectionName);
  memory = BusMemory{address, {}};
  return QDBusConnection::connectToBus(address, kConnectionName);
}

std::optional<AtspiReference> activeFrame(AtspiCalls& calls, const AtspiReference& application) {
  const std::vector<AtspiReference> frames = calls.children(application);
  std::vector<std::optional<std::vector<std::uint32_t>>> states;
  for (const AtspiReference& frame : frames) states.push_back(calls.states(frame));
  const std::optional<std::size_t> index = atspi::activeFrameIndex(states);
  if (!index) return std::nullopt;
  return frames[*index];
}

BrowserTabAnswer readTab(int processId, SteadyClock::time_point deadline, BusMemory& memory) {
  const std::optional<QString> address = accessibilityBusAddress(millisecondsLeft(deadline));
  if (!address) {
    if (millisecondsLeft(deadline) <= 0) return BrowserProbeError::timeout();
    return BrowserProbeError::scriptFailure("no accessibility bus");
  }
  QDBusConnection bus = accessibilityBus(*address, memory);
  if (!bus.isConnected()) return BrowserProbeError::scriptFailure("no accessibility bus");
  AtspiCalls calls(bus, deadline);

  std::optional<AtspiReference> application;
  for (AtspiReference& candidate :
       calls.children({QStringLiteral("org.a11y.atspi.Registry"),
                       QStringLiteral("/org/a11y/atspi/accessible/root")})) {
    auto known = memory.owners.find(candidate.service);
    std::optional<std::uint32_t> owner;
    if (known != memory.owners.end()) {
      owner = known->second;
    } else if ((owner = calls.processId(candidate.service))) {
      memory.owners.emplace(candidate.service, *owner);
    }
    if (owner && static_cast<int>(*owner) == processId) {
      application = std::move(candidate);
      break;
    }
  }
  if (!application) {
    if (calls.timedOut()) return BrowserProbeError::timeout();
    return BrowserProbeError::notRunning();
  }
  const std::optional<AtspiReference> frame = activeFrame(calls, *application);
  std::optional<BrowserTab> tab;
  if (frame) tab = readTabFromAccessibility(AtspiElement(calls, *frame));
  if (calls.timedOut()) return BrowserProbeError::timeout();
  if (!tab) return BrowserProbeError::scriptFailure("no active tab");
  return *tab;
}

void exposeAccessibleTrees() {
  QDBusConnection session = QDBusConnection::sessionBus();
  if (!session.isConnected()) return;
  QDBusMessage message = QDBusMessage::createMethodCall(
      kA11yBus, kA11yBusPath, QStringLiteral("org.freedesktop.DBus.Properties"),
      QStringLiteral("Set"));
  message.setArguments({QStringLiteral("org.a11y.Status"), QStringLiteral("IsEnabled"),
                        QVariant::fromValue(QDBusVariant(true))});
  session.send(message);
}

}  // namespace

AtspiTabReader::AtspiTabReader(Scheduler& scheduler)
    : AtspiTabReader(
          scheduler,
          [memory = BusMemory()](int processId, SteadyClock::time_point deadline) mutable {
            return readTab(processId, deadline, memory);
          },
          exposeAccessibleTrees) {}

AtspiTabReader::AtspiTabReader(Scheduler& scheduler, ReadFunction read,
                               std::function<void()> exposeTrees)
    : scheduler_(scheduler), read_(std::move(read)), exposeTrees_(std::move(exposeTrees)) {}

AtspiTabReader::~AtspiTabReader() {
  alive_.reset();
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  if (worker_.joinable()) worker_.join();
}

void AtspiTabReader::setEnabled(bool enabled) {
  if (enabled && !enabled_ && exposeTrees_) exposeTrees_();
  enabled_ = enabled;
}

bool AtspiTabReader::hasAccessibilityBus() {
  return accessibilityBusAddress(1000).has_value();
}

void AtspiTabReader::readActiveTab(const BrowserCatalog::Entry& /*browser*/, int processId,
                                   std::function<void(BrowserTabAnswer)> done) {
  if (!enabled_) {
    scheduler_.post(
        [done = std::move(done)] { done(BrowserProbeError::scriptFailure("accessibility off")); });
    return;
  }
  if (inFlight_) {
    scheduler_.post([done = std::move(done)] { done(BrowserProbeError::busy()); });
    return;
  }
  inFlight_ = true;
  const std::uint64_t id = nextId_++;
  pending_ = Pending{id, std::move(done)};
  timeout_ = scheduler_.after(kAtspiReadTimeoutSeconds, [this, id] {
    if (!pending_ || pending_->id != id) return;
    auto answer = std::move(pending_->done);
    pending_.reset();
    answer(BrowserProbeError::timeout());
  });
  {
    std::lock_guard lock(mutex_);
    job_ = Job{id, processId};
    if (!worker_.joinable()) {
      worker_ = std::thread([this, alive = std::weak_ptr<bool>(alive_)] { work(alive); });
    }
  }
  wake_.notify_one();
}

void AtspiTabReader::work(const std::weak_ptr<bool>& alive) {
  for (;;) {
    Job job;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return stopping_ || job_.has_value(); });
      if (stopping_) return;
      job = *job_;
      job_.reset();
    }
    const auto deadline =
        SteadyClock::now() +
        std::chrono::milliseconds(static_cast<int>(kAtspiReadTimeoutSeconds * 1000));
    BrowserTabAnswer answer = read_(job.processId, deadline);
    scheduler_.post([this, alive, id = job.id, answer = std::move(answer)]() mutable {
      if (alive.expired()) return;
      finish(id, std::move(answer));
    });
  }
}

void AtspiTabReader::finish(std::uint64_t id, BrowserTabAnswer answer) {
  inFlight_ = false;
  if (!pending_ || pending_->id != id) return;  // already answered "timeout"
  timeout_.cancel();
  auto done = std::move(pending_->done);
  pending_.reset();
  done(std::move(answer));
}

}  // namespace velto::platform
