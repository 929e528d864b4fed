// velto-browser-host: the native messaging host the browser extension talks to. The browser
// starts it with the extension's port open and writes each tab report to its standard input as
// native messaging frames (context/native_messaging.h); every report that passes the checks of
// context/tab_report.h goes to the running recorder over the session bus
// (platform/linux/browser_report_bus.h). Nothing is written back, stored or sent anywhere else.
//
// Refused frames (too long, not a report) are logged on standard error, which the browser keeps
// in its own log, and skipped. The host exits when the browser closes the pipe, after telling
// the recorder that this browser's reports end.
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <set>
#include <string>

#include "base/log.h"
#include "context/native_messaging.h"
#include "context/tab_report.h"
#include "platform/linux/browser_report_bus.h"

namespace velto {

namespace {

// A recorder answers at once; a stuck one must not hold the browser's reports back for long.
constexpr std::chrono::milliseconds kCallTimeout{500};

class RecorderLink {
 public:
  // Sends `report` of the browser at `pid`; a missing recorder is not an error (nothing is
  // being recorded), so it is only logged in debug lines.
  void send(const TabReport& report, int pid) {
    call("Report", [&](sd_bus_message* message) {
      return sd_bus_message_append(message, "issb", static_cast<std::int32_t>(pid),
                                   report.url.c_str(), report.title.c_str(),
                                   static_cast<int>(report.isPrivate));
    });
  }
  void gone(int pid) {
    call("Gone", [&](sd_bus_message* message) {
      return sd_bus_message_append(message, "i", static_cast<std::int32_t>(pid));
    });
  }

 private:
  template <typename Append>
  void call(const char* member, Append append) {
    if (!bus_) bus_ = platform::bus::openSessionBus();
    if (!bus_) {
      log::debug("No session bus: the report is dropped");
      return;
    }
    platform::bus::Message message = platform::bus::methodCall(
        bus_.get(), platform::kRecorderBusName, platform::kBrowserTabsPath,
        platform::kBrowserTabsInterface, member);
    if (!message || append(message.get()) < 0) return;
    std::string error;
    if (!platform::bus::callBlocking(bus_.get(), message.get(), kCallTimeout, &error)) {
      log::debug("The recorder did not take the report: %{public}s", error);
      // A recorder that restarts gets a new connection's worth of state; so does this link.
      bus_.reset();
    }
  }

  platform::bus::Connection bus_;
};

int run() {
  const int browserPid = static_cast<int>(::getppid());
  RecorderLink recorder;
  NativeMessageDecoder decoder;
  std::set<int> reportedPids;  // whose reports end with this host (a handful at most)
  char buffer[8192];
  for (;;) {
    const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      log::error("Cannot read from the browser: %{public}s", std::to_string(errno));
      for (int pid : reportedPids) recorder.gone(pid);
      return 1;
    }
    if (got == 0) break;
    decoder.feed(std::string_view(buffer, static_cast<std::size_t>(got)));
    while (std::optional<NativeMessageDecoder::Frame> frame = decoder.next()) {
      if (frame->kind == NativeMessageDecoder::Frame::Kind::oversized) {
        log::error("Refused a message of %{public}s bytes (at most %{public}s)",
                   std::to_string(frame->length), std::to_string(kMaxNativeMessageBytes));
        continue;
      }
      Result<TabReport> report = parseTabReport(frame->payload);
      if (!report) {
        log::error("Refused a message that is not a tab report: %{public}s", report.error());
        continue;
      }
      const int pid = report->processId > 0 ? report->processId : browserPid;
      if (reportedPids.size() < 8) reportedPids.insert(pid);
      recorder.send(*report, pid);
    }
  }
  if (decoder.hasPartialFrame()) log::error("The browser closed the pipe inside a message");
  for (int pid : reportedPids) recorder.gone(pid);
  return 0;
}

}  // namespace

}  // namespace velto

int main() {
  return velto::run();
}
