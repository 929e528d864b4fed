#include "platform/linux/browser_report_bus.h"

#include <cstdint>
#include <string>

#include "base/log.h"
#include "context/tab_report.h"

namespace velto::platform {

namespace {

BrowserReportBus* serviceOf(void* data) {
  return static_cast<BrowserReportBus*>(data);
}

const sd_bus_vtable kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD(
        "Report", "issb", "",
        [](sd_bus_message* call, void* data, sd_bus_error*) {
          return serviceOf(data)->reportCalled(call);
        },
        SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD(
        "Gone", "i", "",
        [](sd_bus_message* call, void* data, sd_bus_error*) {
          return serviceOf(data)->goneCalled(call);
        },
        SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

}  // namespace

BrowserReportBus::BrowserReportBus(EventLoop& loop, ReportedTabReader& reader)
    : reader_(reader), bus_(bus::sessionBus(loop.event())) {
  if (!bus_) {
    log::error("No session bus: the browser extension cannot report tabs");
    return;
  }
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_object_vtable(bus_.get(), &slot, kBrowserTabsPath, kBrowserTabsInterface, kVtable,
                               this) < 0) {
    log::error("Cannot offer %{public}s on the session bus", std::string(kBrowserTabsPath));
    return;
  }
  object_.reset(slot);
  if (const int taken = sd_bus_request_name(bus_.get(), kRecorderBusName, 0); taken < 0) {
    log::error("Cannot take the bus name %{public}s (%{public}s): browser tabs are not reported",
               std::string(kRecorderBusName), std::to_string(-taken));
    return;
  }
  listening_ = true;
}

int BrowserReportBus::reportCalled(sd_bus_message* call) {
  std::int32_t pid = 0;
  const char* url = nullptr;
  const char* title = nullptr;
  int isPrivate = 0;
  if (sd_bus_message_read(call, "issb", &pid, &url, &title, &isPrivate) <= 0) {
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "Malformed report");
  }
  const std::string_view urlText(url);
  const std::string_view titleText(title);
  if (pid <= 0 || pid > kMaxProcessId || urlText.size() > kMaxReportedUrlBytes ||
      titleText.size() > kMaxReportedTitleBytes || !isReportableUrl(urlText)) {
    log::error("Refused a browser tab report that is out of bounds");
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "Report out of bounds");
  }
  reader_.report(TabReport(std::string(urlText), std::string(titleText), isPrivate != 0, pid));
  return sd_bus_reply_method_return(call, "");
}

int BrowserReportBus::goneCalled(sd_bus_message* call) {
  std::int32_t pid = 0;
  if (sd_bus_message_read(call, "i", &pid) <= 0) {
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "Malformed call");
  }
  reader_.forget(pid);
  return sd_bus_reply_method_return(call, "");
}

}  // namespace velto::platform
