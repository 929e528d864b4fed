#include "context/reported_tab_reader.h"

#include <algorithm>

namespace velto {

ReportedTabReader::ReportedTabReader(Scheduler& scheduler, BrowserTabReader* fallback)
    : scheduler_(scheduler), fallback_(fallback) {}

void ReportedTabReader::report(const TabReport& incoming) {
  if (incoming.processId <= 0) return;
  const TabReport checked = withoutPrivateDetails(incoming);
  if (!checked.isPrivate && checked.url.empty()) {
    latest_.erase(checked.processId);
  } else {
    latest_.insert_or_assign(
        checked.processId,
        Kept{BrowserTab{checked.title, checked.url, checked.isPrivate}, nextOrder_++});
    if (latest_.size() > kMaxReportingBrowsers) {
      auto oldest = std::min_element(
          latest_.begin(), latest_.end(),
          [](const auto& a, const auto& b) { return a.second.order < b.second.order; });
      latest_.erase(oldest);
    }
  }
  if (handler_) handler_(checked.processId);
}

void ReportedTabReader::forget(int processId) {
  if (latest_.erase(processId) > 0 && handler_) handler_(processId);
}

std::vector<int> ReportedTabReader::reportingBrowsers() const {
  std::vector<std::pair<std::uint64_t, int>> byOrder;
  for (const auto& [pid, kept] : latest_) byOrder.emplace_back(kept.order, pid);
  std::sort(byOrder.begin(), byOrder.end());
  std::vector<int> pids;
  for (const auto& entry : byOrder) pids.push_back(entry.second);
  return pids;
}

void ReportedTabReader::readActiveTab(const BrowserCatalog::Entry& browser, int processId,
                                      std::function<void(BrowserTabAnswer)> done) {
  if (const auto found = latest_.find(processId); found != latest_.end()) {
    BrowserTab tab = found->second.tab;
    scheduler_.post([tab = std::move(tab), done = std::move(done)] { done(tab); });
    return;
  }
  if (fallback_ != nullptr && fallback_->isEnabled()) {
    fallback_->readActiveTab(browser, processId, std::move(done));
    return;
  }
  scheduler_.post([done = std::move(done)] { done(BrowserProbeError::notRunning()); });
}

void ReportedTabReader::setEnabled(bool enabled) {
  if (fallback_ != nullptr) fallback_->setEnabled(enabled);
}

}  // namespace velto
