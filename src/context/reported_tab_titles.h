// A window title source that also counts a browser's tab report as a change of the observed
// window: a tab switch in a browser whose window title did not change (or is not readable)
// still makes the tracking engine read the tab again.
//
// Thread: main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "recording/platform_sources.h"

namespace velto {

class ReportedTabTitles final : public WindowTitleSource {
 public:
  // `titles` must outlive this source.
  explicit ReportedTabTitles(WindowTitleSource& titles) : titles_(titles) {}

  // Observes through the wrapped source, and remembers the window's process for reports; true
  // when the wrapped source observes it.
  bool observe(const RunningApplication& window, std::function<void()> onChange) override;
  void stop() override;
  std::optional<std::string> focusedWindowTitle(const RunningApplication& window) override {
    return titles_.focusedWindowTitle(window);
  }

  // The browser at `processId` reported its tab: the observer hears of it when that process
  // owns the observed window.
  void tabReported(int processId);

 private:
  WindowTitleSource& titles_;
  int processId_ = 0;
  std::function<void()> onChange_;
};

}  // namespace velto
