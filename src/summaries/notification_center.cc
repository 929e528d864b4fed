#include "summaries/notification_center.h"

namespace velto {

void postOncePerPeriod(AppNotificationCentering& center, OncePerPeriodPost post) {
  center.authorizationStatus([&center, post = std::move(post)](NotificationAuthorization status) {
    if (!mayPost(status)) {
      if (post.unmark) post.unmark();
      return;
    }
    const std::optional<NotificationRequest> request = post.compose();
    if (!request) return;
    center.add(*request, [posted = post.posted](Status result) {
      if (posted) posted(result);
    });
  });
}

}  // namespace velto
