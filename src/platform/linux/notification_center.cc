#include "platform/linux/notification_center.h"

namespace velto::platform {

FreedesktopNotificationCenter::FreedesktopNotificationCenter(EventLoop& loop,
                                                             const NotificationRouter* router)
    : client_(loop, "Velto"), router_(router) {
  client_.onActivated = [this](const std::string& id) {
    auto found = categoryById_.find(id);
    if (found != categoryById_.end() && router_ != nullptr) {
      router_->handleResponse(found->second, true);
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
  categoryById_[request.identifier] = request.categoryIdentifier;
  Status posted = client_.post(request.identifier, request.title, request.body);
  if (done) done(posted);
}

}  // namespace velto::platform
