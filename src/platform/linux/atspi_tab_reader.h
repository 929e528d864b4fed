// Reads a browser's active tab over AT-SPI: the accessibility bus address from the session's
// org.a11y.Bus, the application whose bus connection belongs to the browser's process among the
// registry's children, its active frame, and below it the document's address (Gecko's DocURL,
// Chromium's URI; Chromium needs --force-renderer-accessibility) or the address bar. A window
// is private when its frame name says so.
//
// Reads run one at a time on a worker thread with a 2-second limit for the whole read; a read
// asked for while one runs answers "busy", one that takes longer answers "timeout", a browser
// with no accessible application answers notRunning. Answers are posted to the main thread.
//
// Thread: create, read, enable and destroy on the scheduler's thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "base/scheduler.h"
#include "context/browser_tab.h"

namespace velto::platform {

inline constexpr double kAtspiReadTimeoutSeconds = 2.0;

class AtspiTabReader final : public BrowserTabReader {
 public:
  // One read of the tab in the front window of a process, ending by the deadline; runs on the
  // worker thread.
  using ReadFunction =
      std::function<BrowserTabAnswer(int processId, std::chrono::steady_clock::time_point)>;

  // Over the session's accessibility bus.
  explicit AtspiTabReader(Scheduler& scheduler);
  // With stand-ins for the bus: `read` does one read, `exposeTrees` asks applications to expose
  // their accessibility trees.
  AtspiTabReader(Scheduler& scheduler, ReadFunction read, std::function<void()> exposeTrees);
  // Waits for a read in progress, which ends within its time limit.
  ~AtspiTabReader() override;
  AtspiTabReader(const AtspiTabReader&) = delete;
  AtspiTabReader& operator=(const AtspiTabReader&) = delete;

  void readActiveTab(const BrowserCatalog::Entry& browser, int processId,
                     std::function<void(BrowserTabAnswer)> done) override;
  bool isEnabled() const override { return enabled_; }
  // Turning reading on also asks the session's accessibility service to have applications
  // expose their trees (org.a11y.Status IsEnabled); turning it off leaves that as it is, since
  // other assistive programs may rely on it.
  void setEnabled(bool enabled) override;

  // The session has an accessibility bus (org.a11y.Bus answers GetAddress within a second).
  static bool hasAccessibilityBus();

 private:
  struct Job {
    std::uint64_t id = 0;
    int processId = 0;
  };
  struct Pending {
    std::uint64_t id = 0;
    std::function<void(BrowserTabAnswer)> done;
  };

  // The worker's loop; `alive` expires when the reader is destroyed.
  void work(const std::weak_ptr<bool>& alive);
  void finish(std::uint64_t id, BrowserTabAnswer answer);

  Scheduler& scheduler_;
  ReadFunction read_;
  std::function<void()> exposeTrees_;
  bool enabled_ = false;
  // Main thread: the read whose answer is awaited, and whether the worker is still busy with a
  // read (possibly one already answered "timeout").
  std::optional<Pending> pending_;
  bool inFlight_ = false;
  std::uint64_t nextId_ = 1;
  Timer timeout_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);

  // Shared with the worker, under mutex_.
  std::mutex mutex_;
  std::condition_variable wake_;
  std::optional<Job> job_;
  bool stopping_ = false;
  std::thread worker_;  // started with the first read
};

}  // namespace velto::platform
