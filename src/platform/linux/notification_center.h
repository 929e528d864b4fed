// The notifiers' notification center on the desktop's notification server. Authorised while a
// server owns the name; a click on a notification reaches the router with the category the
// notification was posted under.
//
// Thread: the loop's thread.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/linux/desktop_notifications.h"
#include "summaries/notification_center.h"
#include "summaries/notification_router.h"

namespace velto::platform {

class FreedesktopNotificationCenter final : public AppNotificationCentering {
 public:
  // `router` (may be null) must outlive this object.
  FreedesktopNotificationCenter(EventLoop& loop, const NotificationRouter* router);

  void authorizationStatus(std::function<void(NotificationAuthorization)> done) override;
  void add(const NotificationRequest& request, std::function<void(Status)> done) override;

  void setRouter(const NotificationRouter* router) { router_ = router; }

 private:
  DesktopNotifications client_;
  const NotificationRouter* router_;
  struct Posted {
    std::string category;
    std::optional<Instant> about;
  };
  std::map<std::string, Posted> postedById_;
};

}  // namespace velto::platform
