// The real desktop of a Linux session, assembled for the service set: the desktop backend (X11,
// wlroots, or none when none fits; see backend_choice.h), logind and screen-saver signals, the
// clock watch, idle inhibitors, /proc and the browser tab readers: the browser extension's
// reports (taken over the session bus while recording), ranked above AT-SPI (off until the
// service set applies the user's opt-in).
//
// Every source that cannot work here (no display, no session bus, no logind) is listed by
// missingSources() and otherwise answers "nothing", so recording goes on with what works. With no
// backend, nothing in front is ever reported: the desktop's time is not recorded at all rather
// than recorded wrong.
//
// Owns the main thread's event loop: `velto record` runs it, the desktop application pumps it
// from its Qt loop.
//
// Thread: main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/service_set.h"
#include "base/clock.h"
#include "context/proc_process_table.h"
#include "context/reported_tab_reader.h"
#include "context/reported_tab_titles.h"
#include "platform/linux/atspi_tab_reader.h"
#include "platform/linux/backend_choice.h"
#include "platform/linux/browser_report_bus.h"
#include "platform/linux/clock_watch.h"
#include "platform/linux/dbus_session_watch.h"
#include "platform/linux/desktop_session.h"
#include "platform/linux/event_loop.h"
#include "platform/linux/event_scheduler.h"
#include "platform/linux/inhibitor_assertions.h"
#include "platform/linux/session_signal_hub.h"

namespace velto::platform {

// A source that could not be started, with the catalog key of the message saying so.
// `backend`: no desktop backend fits this session (backendChoice() says why); `compositor` and
// `compositorIdle` are `display` and `idleTime` of a Wayland backend; `processes`: the backend
// does not tell a window's process.
enum class MissingSource {
  display,
  idleTime,
  sessionBus,
  logind,
  loginSession,
  clockWatch,
  backend,
  compositor,
  compositorIdle,
  processes,
};

// The catalog key of the message for `source` ("record.missing.display", ...).
const char* missingSourceKey(MissingSource source);

class LinuxDesktop {
 public:
  // The backend chosen from this process's environment; an unknown VELTO_BACKEND value leaves
  // none (callers that can stop should check chooseBackend() first and say so).
  LinuxDesktop();
  // `use`: recording installs what the desktop needs to report its windows; inspecting only
  // looks (velto status).
  explicit LinuxDesktop(BackendChoice choice, SessionUse use = SessionUse::recording);
  LinuxDesktop(const LinuxDesktop&) = delete;
  LinuxDesktop& operator=(const LinuxDesktop&) = delete;

  // References into this object; valid while it lives.
  Desktop desktop();
  std::vector<MissingSource> missingSources() const;
  // The backend running, once its session was made (a wlroots session that did not connect
  // leaves none, with its reason).
  const BackendChoice& backendChoice() const { return choice_; }
  // How idle time is learnt ("XScreenSaver", "ext-idle-notify", ...); empty without it.
  std::string idleSourceName() const;
  // Where a window's process is learnt ("_NET_WM_PID", "sway IPC"); empty when it is not.
  std::string processSourceName() const;

  EventLoop& loop() { return loop_; }
  Scheduler& scheduler() { return scheduler_; }
  const Clock& clock() const { return clock_; }
  // Browsers whose extension reported a tab, by process id; the bus that takes the reports
  // (none when inspecting).
  const ReportedTabReader& reportedTabs() const { return reported_; }
  bool takesBrowserReports() const { return browserReports_ && browserReports_->isListening(); }

 private:
  std::unique_ptr<DesktopSession> makeSession(SessionUse use);

  SystemClock clock_;
  EventLoop loop_;
  EventScheduler scheduler_;
  SessionSignalHub hub_;
  BackendChoice choice_;
  std::unique_ptr<DesktopSession> session_;  // never null
  DbusSessionWatch dbus_;
  ClockWatch clockWatch_;
  InhibitorAssertions power_;
  ProcProcessTable processes_;
  AtspiTabReader tabs_;
  ReportedTabReader reported_;
  ReportedTabTitles titles_;
  std::unique_ptr<BrowserReportBus> browserReports_;  // while recording
};

}  // namespace velto::platform
