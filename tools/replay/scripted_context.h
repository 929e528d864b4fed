// The browser tab and process table as a replay script sets them.
#pragma once

#include <optional>
#include <vector>

#include "base/scheduler.h"
#include "context/browser_tab.h"
#include "context/process_table.h"

namespace velto::replay {

// Answers every tab read with the scripted tab (none: "not running"), on the next turn of the
// main loop as a real reader does.
class ScriptedTabReader final : public BrowserTabReader {
 public:
  explicit ScriptedTabReader(Scheduler& scheduler) : scheduler_(scheduler) {}
  void readActiveTab(const BrowserCatalog::Entry&, int,
                     std::function<void(BrowserTabAnswer)> done) override {
    BrowserTabAnswer answer = tab ? BrowserTabAnswer(*tab) : BrowserProbeError::notRunning();
    scheduler_.post([done = std::move(done), answer = std::move(answer)] { done(answer); });
  }
  std::optional<BrowserTab> tab;

 private:
  Scheduler& scheduler_;
};

struct ScriptedProcess {
  ProcessInfo info;
  std::string exe;
};

class ScriptedProcessTable final : public ProcessTable {
 public:
  std::vector<ProcessInfo> processes() const override {
    std::vector<ProcessInfo> out;
    for (const ScriptedProcess& process : list) out.push_back(process.info);
    return out;
  }
  std::optional<std::string> executablePath(int processId) const override {
    for (const ScriptedProcess& process : list) {
      if (process.info.processId == processId && !process.exe.empty()) return process.exe;
    }
    return std::nullopt;
  }
  std::vector<ScriptedProcess> list;
};

}  // namespace velto::replay
