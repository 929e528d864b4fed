#include "platform/linux/notification_center.h"

namespace velto::platform {

FreedesktopNotificationCenter::FreedesktopNotificationCenter(EventLoop& loop,
                                                             const NotificationRouter* router)
    : client_(loop, "Velto"), router_(router) {
  client_.onActivated = [this](const std::string& id) {
    auto found = postedById_.find(id);
    if (found != postedById_.end() && router_ != nullptr) {
      router_->handleResponse(found->second.category, true, found->second.about);
    }
  };
}

void FreedesktopNotificationCenter::authorizationStatus(
    std::function<void(NotificationAuthorization)> done) {
  done(client_.isAuthorised() ? NotificationAuthorization::authorized
                              : NotificationAuthorization::denied);
}

void FreedesktopNotificationCenter::add(const NotificationRequest& request,
                                        std::function<void(Status)> done) {
  postedById_[request.identifier] = Posted{request.categoryIdentifier, request.about};
  Status posted = client_.post(request.identifier, request.title, request.body);
  if (done) done(posted);
}

}  // namespace velto::platform
