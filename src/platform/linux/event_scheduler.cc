#include "platform/linux/event_scheduler.h"

#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <ctime>
#include <limits>

#include "base/files.h"
#include "base/log.h"

namespace velto::platform {

namespace {

// Now on CLOCK_MONOTONIC in µs, read afresh: the loop's cached time of its last wake-up may
// lie in the past and make a delay counted from it end early.
std::uint64_t monotonicNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000u +
         static_cast<std::uint64_t>(now.tv_nsec) / 1000u;
}

}  // namespace

struct EventScheduler::Entry {
  EventScheduler* owner = nullptr;
  std::uint64_t id = 0;
  std::uint64_t interval = 0;  // µs; 0 for a one-shot
  std::function<void()> action;
  sd_event_source* source = nullptr;

  ~Entry() { sd_event_source_disable_unref(source); }
};

EventScheduler::EventScheduler(EventLoop& loop) : loop_(loop) {
  wakeFd_ = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (wakeFd_ < 0) {
    log::error("Cannot create the scheduler's wake-up: %{public}s", files::errnoText(errno));
    return;
  }
  wakeWatch_ = std::make_unique<FdWatch>(loop_, wakeFd_, [this] { runPosted(); });
}

EventScheduler::~EventScheduler() {
  timers_.clear();
  wakeWatch_.reset();
  if (wakeFd_ >= 0) ::close(wakeFd_);
}

std::uint64_t EventScheduler::microseconds(double seconds) {
  if (!(seconds > 0)) return 0;
  const double usec = std::ceil(seconds * 1e6);
  // Far enough for any deadline and safe from overflow when added to the clock.
  constexpr double kLimit = static_cast<double>(std::numeric_limits<std::uint64_t>::max() / 4);
  return static_cast<std::uint64_t>(std::min(usec, kLimit));
}

std::uint64_t EventScheduler::accuracy(double toleranceSeconds) {
  return std::max<std::uint64_t>(1, microseconds(toleranceSeconds));
}

std::uint64_t EventScheduler::repeatingAccuracy(double intervalSeconds, double toleranceSeconds) {
  return accuracy(std::min(toleranceSeconds, intervalSeconds * 0.05));
}

Timer EventScheduler::start(int clock, std::uint64_t usec, std::uint64_t accuracy,
                            std::uint64_t interval, std::function<void()> action) {
  const std::uint64_t id = nextId_++;
  auto entry = std::make_shared<Entry>();
  entry->owner = this;
  entry->id = id;
  entry->interval = interval;
  entry->action = std::move(action);
  const int added = sd_event_add_time(
      loop_.event(), &entry->source, static_cast<clockid_t>(clock), usec, accuracy,
      [](sd_event_source*, uint64_t, void* userdata) {
        auto* fired = static_cast<Entry*>(userdata);
        fired->owner->fired(fired->id);
        return 0;
      },
      entry.get());
  if (added < 0) {
    log::error("Cannot start a timer: %{public}s", files::errnoText(-added));
    entry->source = nullptr;
    return Timer(this, id);  // never active
  }
  timers_.emplace(id, std::move(entry));
  return Timer(this, id);
}

void EventScheduler::fired(std::uint64_t id) {
  auto found = timers_.find(id);
  if (found == timers_.end()) return;
  // Kept alive while its action runs: the action may cancel its own timer.
  std::shared_ptr<Entry> entry = found->second;
  if (entry->interval == 0) {
    // A one-shot is forgotten before it runs, so the action may schedule or cancel freely.
    timers_.erase(found);
  } else {
    // The next beat of the timer's own rhythm; after a long stall (a suspended machine), one
    // interval from now rather than a burst of catch-up runs.
    std::uint64_t deadline = 0;
    sd_event_source_get_time(entry->source, &deadline);
    deadline += entry->interval;
    if (const std::uint64_t now = monotonicNow(); deadline <= now) deadline = now + entry->interval;
    sd_event_source_set_time(entry->source, deadline);
    sd_event_source_set_enabled(entry->source, SD_EVENT_ON);
  }
  entry->action();
}

Timer EventScheduler::repeating(double intervalSeconds, double toleranceSeconds,
                                std::function<void()> action) {
  // A zero interval would spin the loop; one microsecond is the shortest the loop knows.
  const std::uint64_t interval = std::max<std::uint64_t>(1, microseconds(intervalSeconds));
  return start(CLOCK_MONOTONIC, monotonicNow() + interval,
               repeatingAccuracy(intervalSeconds, toleranceSeconds), interval, std::move(action));
}

Timer EventScheduler::at(Instant at, double toleranceSeconds, std::function<void()> action) {
  const auto since1970 = at.time_since_epoch().count();
  // An instant before 1970 has passed; 1 µs is the earliest deadline the loop takes.
  const std::uint64_t usec = since1970 > 0 ? static_cast<std::uint64_t>(since1970) : 1;
  return start(CLOCK_REALTIME, usec, accuracy(toleranceSeconds), 0, std::move(action));
}

Timer EventScheduler::after(double delaySeconds, std::function<void()> action) {
  return start(CLOCK_MONOTONIC, monotonicNow() + microseconds(delaySeconds), 1, 0,
               std::move(action));
}

void EventScheduler::post(std::function<void()> action) {
  {
    std::lock_guard lock(postedMutex_);
    posted_.push_back(std::move(action));
  }
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(wakeFd_, &one, sizeof one);
}

void EventScheduler::runPosted() {
  std::uint64_t count = 0;
  [[maybe_unused]] const ssize_t read = ::read(wakeFd_, &count, sizeof count);
  // Actions posted while these run wait for the next turn.
  std::deque<std::function<void()>> batch;
  {
    std::lock_guard lock(postedMutex_);
    batch.swap(posted_);
  }
  for (std::function<void()>& action : batch) action();
}

void EventScheduler::cancel(std::uint64_t id) {
  timers_.erase(id);
}

bool EventScheduler::isActive(std::uint64_t id) const {
  return timers_.count(id) != 0;
}

}  // namespace velto::platform
