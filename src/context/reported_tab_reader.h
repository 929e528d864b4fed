// The browser tab reader fed by the browser extension: each browser's latest report, by the
// browser's process id, answers reads for that browser; browsers that never reported (or whose
// extension said it has no tab to show) are read by the fallback reader (AT-SPI), if any.
//
// A report is kept only as its browser's latest tab, whether or not that browser is in front;
// what is recorded is decided when the context resolver reads it. Reports are checked again
// here: a private one (or one whose title says private) keeps neither URL nor title.
//
// Thread: main thread. `done` is always posted through the scheduler.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <vector>

#include "base/scheduler.h"
#include "context/browser_tab.h"
#include "context/tab_report.h"

namespace velto {

// Browsers remembered at once; the one that reported least recently is forgotten first.
inline constexpr std::size_t kMaxReportingBrowsers = 16;

class ReportedTabReader final : public BrowserTabReader {
 public:
  // `fallback` may be null and must outlive the reader.
  ReportedTabReader(Scheduler& scheduler, BrowserTabReader* fallback);

  // A report of the browser whose process id is `report.processId`; ignored when that is 0.
  // A report without URL from a window that is not private means "no tab": the browser is
  // read by the fallback again.
  void report(const TabReport& report);
  // The browser at `processId` stopped reporting (its extension's host exited).
  void forget(int processId);
  // Called on every report kept, with the browser's process id, after it is kept.
  void setReportHandler(std::function<void(int processId)> handler) {
    handler_ = std::move(handler);
  }
  // Process ids of the browsers with a report kept, oldest report first.
  std::vector<int> reportingBrowsers() const;

  void readActiveTab(const BrowserCatalog::Entry& browser, int processId,
                     std::function<void(BrowserTabAnswer)> done) override;
  // The extension needs no opt-in: reports are read whenever a browser sends them; the
  // fallback keeps its own switch.
  bool isEnabled() const override { return true; }
  void setEnabled(bool enabled) override;

 private:
  struct Kept {
    BrowserTab tab;
    std::uint64_t order = 0;
  };

  Scheduler& scheduler_;
  BrowserTabReader* fallback_;
  std::map<int, Kept> latest_;
  std::uint64_t nextOrder_ = 1;
  std::function<void(int)> handler_;
};

}  // namespace velto
