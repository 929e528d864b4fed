// Where the recorder takes tab reports from the browser extension's native messaging host: the
// recorder owns the session-bus name org.velto.Recorder and offers, at /org/velto/Browsers,
// the interface org.velto.BrowserTabs with
//   Report(i pid, s url, s title, b private) -> ()   the latest active tab of the browser `pid`
//   Gone(i pid) -> ()                                 that browser's host has exited
// Reports are checked again (tab_report.h) before the reader keeps them.
//
// Thread: main thread; calls are dispatched from the event loop.
#pragma once

#include <functional>

#include "context/reported_tab_reader.h"
#include "platform/linux/bus_connection.h"
#include "platform/linux/event_loop.h"

namespace velto::platform {

inline constexpr const char* kRecorderBusName = "org.velto.Recorder";
inline constexpr const char* kBrowserTabsPath = "/org/velto/Browsers";
inline constexpr const char* kBrowserTabsInterface = "org.velto.BrowserTabs";

class BrowserReportBus {
 public:
  // Offers the interface and asks for the name; without a session bus, or when another
  // recorder holds the name, it logs why and takes no reports. `reader` must outlive this.
  BrowserReportBus(EventLoop& loop, ReportedTabReader& reader);
  BrowserReportBus(const BrowserReportBus&) = delete;
  BrowserReportBus& operator=(const BrowserReportBus&) = delete;

  // Whether hosts can reach this recorder.
  bool isListening() const { return listening_; }

  int reportCalled(sd_bus_message* call);
  int goneCalled(sd_bus_message* call);

 private:
  ReportedTabReader& reader_;
  bus::Connection bus_;
  bus::Slot object_;
  bool listening_ = false;
};

}  // namespace velto::platform
