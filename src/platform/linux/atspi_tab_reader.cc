#include "platform/linux/atspi_tab_reader.h"

#include <chrono>
#include <map>

#include "context/accessible_tab_reader.h"
#include "platform/linux/atspi_accessible.h"
#include "platform/linux/atspi_mapping.h"
#include "platform/linux/bus_connection.h"

namespace velto::platform {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr const char* kA11yBus = "org.a11y.Bus";
constexpr const char* kA11yBusPath = "/org/a11y/bus";

// The accessibility bus's address, asked of org.a11y.Bus on `session`.
std::optional<std::string> accessibilityBusAddress(sd_bus* session,
                                                   std::chrono::milliseconds timeout) {
  if (session == nullptr || timeout.count() <= 0) return std::nullopt;
  bus::Message call = bus::methodCall(session, kA11yBus, kA11yBusPath, kA11yBus, "GetAddress");
  bus::Message reply = bus::callBlocking(session, call.get(), timeout);
  if (!reply || bus::signatureOf(reply.get()) != "s") return std::nullopt;
  std::optional<std::string> address = bus::readString(reply.get());
  if (!address || address->empty()) return std::nullopt;
  return address;
}

std::chrono::milliseconds timeLeft(SteadyClock::time_point deadline) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(deadline - SteadyClock::now());
}

// What the worker keeps between reads: its own session connection, the accessibility bus it is
// connected to and that bus's address, and the process owning each application's bus name
// (names are never reused on one bus).
struct BusMemory {
  bus::Connection session;
  std::string address;
  bus::Connection accessibility;
  std::map<std::string, std::uint32_t> owners;
};

// The connection to the accessibility bus at `address`, made again when the address changed
// or the bus went away.
sd_bus* accessibilityBus(const std::string& address, BusMemory& memory) {
  if (memory.accessibility && sd_bus_is_open(memory.accessibility.get()) > 0 &&
      memory.address == address) {
    return memory.accessibility.get();
  }
  memory.accessibility = bus::connectTo(address);
  memory.address = address;
  memory.owners.clear();
  return memory.accessibility.get();
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
  // The worker's own session connection: sd-bus connections are not shared across threads, and
  // a private one may be closed from the main thread once the worker has ended.
  if (!memory.session || sd_bus_is_open(memory.session.get()) <= 0) {
    memory.session = bus::openSessionBus();
  }
  const std::optional<std::string> address =
      accessibilityBusAddress(memory.session.get(), timeLeft(deadline));
  if (!address) {
    if (timeLeft(deadline).count() <= 0) return BrowserProbeError::timeout();
    return BrowserProbeError::scriptFailure("no accessibility bus");
  }
  sd_bus* bus = accessibilityBus(*address, memory);
  if (bus == nullptr) return BrowserProbeError::scriptFailure("no accessibility bus");
  AtspiCalls calls(bus, deadline);

  std::optional<AtspiReference> application;
  for (AtspiReference& candidate :
       calls.children({"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"})) {
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
  bus::Connection session = bus::sessionBus();
  bus::Message call = bus::methodCall(session.get(), kA11yBus, kA11yBusPath,
                                      "org.freedesktop.DBus.Properties", "Set");
  if (!call ||
      sd_bus_message_append(call.get(), "ssv", "org.a11y.Status", "IsEnabled", "b", 1) < 0) {
    return;
  }
  // Sent without waiting for the answer; flushed at once, since the connection may have no loop.
  sd_bus_message_set_expect_reply(call.get(), 0);
  sd_bus_send(session.get(), call.get(), nullptr);
  sd_bus_flush(session.get());
}

}  // namespace

AtspiTabReader::AtspiTabReader(Scheduler& scheduler)
    : AtspiTabReader(
          scheduler,
          [memory = std::make_shared<BusMemory>()](int processId,
                                                   SteadyClock::time_point deadline) {
            return readTab(processId, deadline, *memory);
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
  bus::Connection session = bus::sessionBus();
  return accessibilityBusAddress(session.get(), std::chrono::milliseconds(1000)).has_value();
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
