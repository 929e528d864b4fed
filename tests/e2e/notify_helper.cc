// Posts one notification through DesktopNotifications, for the desktop tests:
//   velto-e2e-notify ID TITLE BODY
// Exit status 0 when a server owns the name and took the notification, 3 when no server is
// authorised, 1 when posting failed.
#include <cstdio>

#include "platform/linux/desktop_notifications.h"
#include "platform/linux/event_loop.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: velto-e2e-notify ID TITLE BODY\n");
    return 2;
  }
  velto::platform::EventLoop loop;
  velto::platform::DesktopNotifications notifications(loop, "Velto");
  if (!notifications.isAuthorised()) {
    std::fprintf(stderr, "no notification server owns the name\n");
    return 3;
  }
  if (velto::Status posted = notifications.post(argv[1], argv[2], argv[3]); !posted) {
    std::fprintf(stderr, "posting failed: %s\n", posted.error().c_str());
    return 1;
  }
  // Posting the same id again replaces the shown notification instead of adding one.
  if (velto::Status again = notifications.post(argv[1], argv[2], argv[3]); !again) {
    std::fprintf(stderr, "replacing failed: %s\n", again.error().c_str());
    return 1;
  }
  return 0;
}
