#include "platform/linux/inotify_events.h"

#include <unistd.h>

namespace velto::platform {

void drainInotify(int fd, const std::function<void(const inotify_event& event)>& each) {
  alignas(inotify_event) char buffer[4096];
  for (;;) {
    const ssize_t length = ::read(fd, buffer, sizeof buffer);
    if (length <= 0) return;
    for (ssize_t at = 0; at < length;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
      each(*event);
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
  }
}

}  // namespace velto::platform
