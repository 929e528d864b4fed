#include "platform/linux/shell_reports.h"

#include <string>

#include "platform/linux/bus_connection.h"

namespace velto::platform {

std::optional<ShellWindow> readWindowReport(sd_bus_message* message) {
  if (message == nullptr || bus::signatureOf(message) != kWindowReportSignature) {
    return std::nullopt;
  }
  const char* key = nullptr;
  const char* windowClass = nullptr;
  const char* instance = nullptr;
  const char* appId = nullptr;
  const char* title = nullptr;
  std::int32_t pid = 0;
  if (sd_bus_message_read(message, kWindowReportSignature, &key, &windowClass, &instance, &appId,
                          &title, &pid) <= 0) {
    return std::nullopt;
  }
  ShellWindow window;
  window.key = key;
  window.windowClass = windowClass;
  window.instance = instance;
  window.appId = appId;
  if (window.appId.ends_with(".desktop")) window.appId.resize(window.appId.size() - 8);
  window.title = title;
  window.pid = pid > 0 ? pid : 0;
  return window;
}

}  // namespace velto::platform
