#include "gui/shell/stop_signals.h"

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cerrno>

#include "base/files.h"
#include "base/log.h"

namespace velto::gui {

namespace {

int stopPipe[2] = {-1, -1};

void onStopSignal(int) {
  const int saved = errno;
  const char byte = 1;
  [[maybe_unused]] const ssize_t written = ::write(stopPipe[1], &byte, 1);
  errno = saved;
}

}  // namespace

StopSignals::StopSignals(std::function<void()> onStop) : onStop_(std::move(onStop)) {
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, stopPipe) != 0) {
    log::error("Could not set up signal handling: %{public}s", files::errnoText(errno));
    return;
  }
  struct sigaction action {};
  action.sa_handler = onStopSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  notifier_ = std::make_unique<QSocketNotifier>(stopPipe[0], QSocketNotifier::Read);
  connect(notifier_.get(), &QSocketNotifier::activated, this, [this] {
    char byte = 0;
    [[maybe_unused]] const ssize_t got = ::read(stopPipe[0], &byte, 1);
    if (onStop_) onStop_();
  });
}

StopSignals::~StopSignals() {
  if (!notifier_) return;
  notifier_.reset();
  signal(SIGINT, SIG_DFL);
  signal(SIGTERM, SIG_DFL);
  ::close(stopPipe[0]);
  ::close(stopPipe[1]);
  stopPipe[0] = stopPipe[1] = -1;
}

}  // namespace velto::gui
