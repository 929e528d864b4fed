#include "context/reported_tab_titles.h"

namespace velto {

bool ReportedTabTitles::observe(const RunningApplication& window, std::function<void()> onChange) {
  processId_ = window.pid;
  onChange_ = onChange;
  return titles_.observe(window, std::move(onChange));
}

void ReportedTabTitles::stop() {
  processId_ = 0;
  onChange_ = nullptr;
  titles_.stop();
}

void ReportedTabTitles::tabReported(int processId) {
  if (processId > 0 && processId == processId_ && onChange_) onChange_();
}

}  // namespace velto
