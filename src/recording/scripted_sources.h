// Desktop sources driven by a script instead of a desktop: the engine's tests and velto-replay
// set what the desktop "shows" and the engine reads it through the usual interfaces.
//
// Thread: main thread, like the real sources.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/clock.h"
#include "recording/platform_sources.h"

namespace velto {

class ScriptedFrontmostApp final : public FrontmostAppSource {
 public:
  std::optional<RunningApplication> frontmostApplication() override { return front_; }
  void setActivationHandler(
      std::function<void(const std::optional<RunningApplication>&)> handler) override {
    handler_ = std::move(handler);
  }
  // Brings `application` to the front and announces it as the desktop would.
  void activate(const std::optional<RunningApplication>& application) {
    front_ = application;
    if (handler_) handler_(front_);
  }
  // Changes the front application without an announcement (a missed event).
  void setSilently(const std::optional<RunningApplication>& application) { front_ = application; }

 private:
  std::optional<RunningApplication> front_;
  std::function<void(const std::optional<RunningApplication>&)> handler_;
};

// Titles by window: a window with an id is known by it, one without by its process.
class ScriptedWindowTitles final : public WindowTitleSource {
 public:
  bool observe(const RunningApplication& window, std::function<void()> onChange) override {
    observed_ = keyOf(window);
    observedPid_ = window.pid;
    onChange_ = std::move(onChange);
    ++observeCalls;
    return true;
  }
  void stop() override {
    observed_.reset();
    observedPid_.reset();
    onChange_ = nullptr;
  }
  std::optional<std::string> focusedWindowTitle(const RunningApplication& window) override {
    ++titleReads;
    auto found = titles_.find(keyOf(window));
    if (found == titles_.end()) return std::nullopt;
    return found->second;
  }
  // Sets the title of `pid`'s window (one without a window id), announcing it when that window
  // is observed.
  void setTitle(int pid, std::optional<std::string> title) { set({false, pid}, std::move(title)); }
  // Sets the title of the window `windowId`, announcing it when that window is observed.
  void setWindowTitle(std::uint64_t windowId, std::optional<std::string> title) {
    set({true, windowId}, std::move(title));
  }
  std::optional<int> observedPid() const { return observedPid_; }
  int observeCalls = 0;
  int titleReads = 0;  // one per enrichment of a window

 private:
  using Key = std::pair<bool, std::uint64_t>;  // {has a window id, the id or the pid}
  static Key keyOf(const RunningApplication& window) {
    if (window.windowId != 0) return {true, window.windowId};
    return {false, static_cast<std::uint64_t>(window.pid)};
  }
  void set(Key key, std::optional<std::string> title) {
    if (title) {
      titles_[key] = *title;
    } else {
      titles_.erase(key);
    }
    if (observed_ == key && onChange_) onChange_();
  }

  std::map<Key, std::string> titles_;
  std::optional<Key> observed_;
  std::optional<int> observedPid_;
  std::function<void()> onChange_;
};

// Idle seconds follow the clock: zero while the user is active, growing from the moment they
// went away.
class ScriptedIdleTime final : public IdleTimeSource {
 public:
  explicit ScriptedIdleTime(const Clock& clock) : clock_(clock) {}
  double secondsSinceLastInput() override {
    return awaySince_ ? std::max(0.0, secondsBetween(*awaySince_, clock_.now())) : 0.0;
  }
  void active() { awaySince_.reset(); }
  void away(Instant since) { awaySince_ = since; }

 private:
  const Clock& clock_;
  std::optional<Instant> awaySince_;
};

// Media presence as a plain switch: when on, the front process holds a display-sleep hold.
class ScriptedPowerAssertions final : public PowerAssertionSource {
 public:
  std::vector<RunningApplication> runningApplications() override { return running; }
  std::optional<std::vector<std::string>> assertionTypes(int pid) override {
    if (failing) return std::nullopt;
    auto found = holds.find(pid);
    if (found != holds.end()) return found->second;
    if (mediaEverywhere) return std::vector<std::string>{"PreventUserIdleDisplaySleep"};
    return std::vector<std::string>{};
  }
  std::vector<RunningApplication> running;
  std::map<int, std::vector<std::string>> holds;
  bool mediaEverywhere = false;
  bool failing = false;
};

class ScriptedSessionEvents final : public SessionEventSource {
 public:
  void setHandler(std::function<void(SessionSignal)> handler) override {
    handler_ = std::move(handler);
  }
  void send(SessionSignal signal) {
    if (handler_) handler_(signal);
  }

 private:
  std::function<void(SessionSignal)> handler_;
};

}  // namespace velto
