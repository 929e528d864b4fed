// velto-browser-host: the native messaging host the browser extension talks to. The browser
// starts it with the extension's port open and writes each tab report to its standard input as
// native messaging frames (context/native_messaging.h); every report that passes the checks of
// context/tab_report.h goes to the running recorder over the session bus
// (platform/linux/browser_report_bus.h). Nothing is written back, stored or sent anywhere else.
//
// Refused frames (too long, not a report) are logged on standard error, which the browser keeps
// in its own log, and skipped. The host exits when the browser closes the pipe, after telling
// the recorder that this browser's reports end. When a recorder takes the bus name later (it
// started after the browser, or restarted), the latest report of each browser is sent again.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>

#include "base/log.h"
#include "context/native_messaging.h"
#include "context/tab_report.h"
#include "platform/linux/browser_report_bus.h"

namespace velto {

namespace {

// A recorder answers at once; a stuck one must not hold the browser's reports back for long.
constexpr std::chrono::milliseconds kCallTimeout{500};

// The session-bus side: reports go to the recorder, and the latest report of each browser is
// sent again when a recorder takes the name (a recorder started after the browser, or
// restarted, learns the tab in front without waiting for the next switch).
class RecorderLink {
 public:
  RecorderLink() { connect(); }

  // Sends `report` of the browser at `pid`; a missing recorder is not an error (nothing is
  // being recorded), so it is only logged in debug lines.
  void send(const TabReport& report, int pid) {
    if (latest_.size() < kMaxBrowsers || latest_.count(pid) > 0) latest_[pid] = report;
    deliver(report, pid);
  }
  // Tells the recorder that the reports of every browser this host spoke for end.
  void goneAll() {
    for (const auto& [pid, report] : latest_) {
      call("Gone", [pid = pid](sd_bus_message* message) {
        return sd_bus_message_append(message, "i", static_cast<std::int32_t>(pid));
      });
    }
  }

  // The bus connection's descriptor and the poll events it waits for; -1 without a bus.
  int fd() const { return bus_ ? sd_bus_get_fd(bus_.get()) : -1; }
  short events() const {
    const int wanted = bus_ ? sd_bus_get_events(bus_.get()) : 0;
    return static_cast<short>(wanted > 0 ? wanted : POLLIN);
  }
  // Handles what the bus has for this host: the name's owner changes.
  void process() {
    if (!bus_) return;
    int handled = 0;
    while ((handled = sd_bus_process(bus_.get(), nullptr)) > 0) {
    }
    if (handled < 0) {
      log::debug("The session bus connection ended");
      bus_.reset();
      ownerWatch_.reset();
    }
  }

  // Sends every browser's latest report again when a recorder took the name.
  void resendIfAsked() {
    if (!resendAll_) return;
    resendAll_ = false;
    for (const auto& [pid, report] : latest_) deliver(report, pid);
  }

 private:
  static constexpr std::size_t kMaxBrowsers = 8;

  static int ownerChanged(sd_bus_message* message, void* data, sd_bus_error*) {
    const char* name = nullptr;
    const char* before = nullptr;
    const char* after = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &after) > 0 && after != nullptr &&
        *after != '\0') {
      static_cast<RecorderLink*>(data)->resendAll_ = true;
    }
    return 0;
  }

  void connect() {
    bus_ = platform::bus::openSessionBus();
    if (!bus_) return;
    const std::string match =
        "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
        "member='NameOwnerChanged',arg0='" +
        std::string(platform::kRecorderBusName) + "'";
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_match(bus_.get(), &slot, match.c_str(), ownerChanged, this) >= 0) {
      ownerWatch_.reset(slot);
    }
  }

  void deliver(const TabReport& report, int pid) {
    call("Report", [&](sd_bus_message* message) {
      return sd_bus_message_append(message, "issb", static_cast<std::int32_t>(pid),
                                   report.url.c_str(), report.title.c_str(),
                                   static_cast<int>(report.isPrivate));
    });
  }

  template <typename Append>
  void call(const char* member, Append append) {
    if (!bus_) connect();
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
    }
    // The call may have read the owner's change; handle it now, as poll will not see it.
    process();
    resendIfAsked();
  }

  platform::bus::Connection bus_;
  platform::bus::Slot ownerWatch_;
  std::map<int, TabReport> latest_;  // the latest report of each browser, a handful at most
  bool resendAll_ = false;
};

int run() {
  const int browserPid = static_cast<int>(::getppid());
  RecorderLink recorder;
  NativeMessageDecoder decoder;
  char buffer[8192];
  for (;;) {
    pollfd watched[2] = {{STDIN_FILENO, POLLIN, 0}, {recorder.fd(), recorder.events(), 0}};
    if (::poll(watched, watched[1].fd >= 0 ? 2 : 1, -1) < 0) {
      if (errno == EINTR) continue;
      log::error("Cannot wait for the browser: %{public}s", std::to_string(errno));
      break;
    }
    if (watched[1].fd >= 0 && watched[1].revents != 0) {
      recorder.process();
      recorder.resendIfAsked();
    }
    if (watched[0].revents == 0) continue;
    const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      log::error("Cannot read from the browser: %{public}s", std::to_string(errno));
      recorder.goneAll();
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
      recorder.send(*report, report->processId > 0 ? report->processId : browserPid);
    }
  }
  if (decoder.hasPartialFrame()) log::error("The browser closed the pipe inside a message");
  recorder.goneAll();
  return 0;
}

}  // namespace

}  // namespace velto

int main() {
  return velto::run();
}
