// Reading an inotify descriptor until it is drained.
#pragma once

#include <sys/inotify.h>

#include <functional>

namespace velto::platform {

// Hands `each` every event waiting on the non-blocking inotify descriptor `fd`, in order, and
// returns once a read finds nothing more (or fails). The event is valid during the call only.
void drainInotify(int fd, const std::function<void(const inotify_event& event)>& each);

}  // namespace velto::platform
