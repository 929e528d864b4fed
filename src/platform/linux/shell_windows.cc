#include "platform/linux/shell_windows.h"

#include <algorithm>
#include <set>

namespace velto::platform {

namespace {

// The identity of a window's application as reported; a change of it is an activation.
bool sameApplication(const ShellWindow& a, const ShellWindow& b) {
  return a.windowClass == b.windowClass && a.instance == b.instance && a.appId == b.appId &&
         a.pid == b.pid;
}

}  // namespace

ShellReportedSession::ShellReportedSession(Scheduler& scheduler, DesktopEntryIndex entries)
    : scheduler_(scheduler), entries_(std::move(entries)) {}

std::uint64_t ShellReportedSession::numberOf(const std::string& key) {
  auto [found, added] = numbers_.try_emplace(key, nextNumber_);
  if (added) ++nextNumber_;
  return found->second;
}

RunningApplication ShellReportedSession::applicationOf(const ShellWindow& window,
                                                       std::uint64_t number) const {
  RunningApplication app = entries_.identify(
      WindowNames{window.instance, window.windowClass, window.appId, executableName(window.pid)},
      window.pid);
  app.windowId = number;
  return app;
}

void ShellReportedSession::reported(const ShellWindow& window) {
  if (window.key.empty()) {
    // Between two windows the shell reports none for an instant; only a lasting none counts.
    if (frontWindow_ && !unfocused_.isActive()) {
      unfocused_ = scheduler_.after(kUnfocusedSettleSeconds, [this] { setFront(std::nullopt); });
    }
    return;
  }
  unfocused_.cancel();
  const std::uint64_t number = numberOf(window.key);
  auto same = [&](const ShellWindow& known) { return known.key == window.key; };
  recent_.erase(std::remove_if(recent_.begin(), recent_.end(), same), recent_.end());
  recent_.push_front(window);
  while (recent_.size() > kRememberedWindows) {
    numbers_.erase(recent_.back().key);
    recent_.pop_back();
  }
  if (frontWindow_ && frontWindow_->key == window.key && sameApplication(*frontWindow_, window)) {
    if (frontWindow_->title == window.title) return;
    frontWindow_->title = window.title;
    if (onChange_ && observed_ == number) onChange_();
    return;
  }
  setFront(window);
}

void ShellReportedSession::closed(const std::string& key) {
  auto same = [&](const ShellWindow& known) { return known.key == key; };
  recent_.erase(std::remove_if(recent_.begin(), recent_.end(), same), recent_.end());
  // The front window keeps its number until the shell reports what has focus next.
  if (!frontWindow_ || frontWindow_->key != key) numbers_.erase(key);
}

void ShellReportedSession::lostShell() {
  unfocused_.cancel();
  if (frontWindow_) setFront(std::nullopt);
}

void ShellReportedSession::setFront(const std::optional<ShellWindow>& window) {
  if (frontWindow_ && (!window || window->key != frontWindow_->key)) {
    const std::string& previous = frontWindow_->key;
    const bool open = std::any_of(recent_.begin(), recent_.end(),
                                  [&](const ShellWindow& known) { return known.key == previous; });
    if (!open) numbers_.erase(previous);
  }
  frontWindow_ = window;
  front_ = window ? std::optional(applicationOf(*window, numberOf(window->key))) : std::nullopt;
  if (activation_) activation_(front_);
}

bool ShellReportedSession::observe(const RunningApplication& window,
                                   std::function<void()> onChange) {
  observed_ = window.windowId != 0 ? window.windowId : (front_ ? front_->windowId : 0);
  onChange_ = std::move(onChange);
  return true;
}

void ShellReportedSession::stop() {
  observed_ = 0;
  onChange_ = nullptr;
}

std::optional<std::string> ShellReportedSession::focusedWindowTitle(
    const RunningApplication& window) {
  const std::uint64_t number = window.windowId != 0 ? window.windowId
                               : front_             ? front_->windowId
                                                    : 0;
  for (const ShellWindow& known : recent_) {
    auto found = numbers_.find(known.key);
    if (found != numbers_.end() && found->second == number) {
      if (known.title.empty()) return std::nullopt;
      return known.title;
    }
  }
  return std::nullopt;
}

std::vector<RunningApplication> ShellReportedSession::clientApplications() {
  std::vector<RunningApplication> apps;
  std::set<int> seen;
  for (const ShellWindow& known : recent_) {
    if (known.pid <= 0 || !seen.insert(known.pid).second) continue;
    apps.push_back(applicationOf(known, numbers_.count(known.key) ? numbers_[known.key] : 0));
  }
  return apps;
}

}  // namespace velto::platform
