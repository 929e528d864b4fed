#include "summaries/notification_router.h"

namespace velto {

bool NotificationRouter::handleResponse(std::string_view category, bool isDefaultAction) const {
  if (!isDefaultAction) return false;
  const std::function<void()>* open = nullptr;
  // Whole-string comparisons: neither identifier is treated as a prefix of another.
  if (category == kDigest || category == kLimitWeek) {
    open = &onOpenWeek;
  } else if (category == kLimit) {
    open = &onOpenToday;
  } else if (category == kDaily) {
    open = &onOpenTodayOverview;
  }
  if (open == nullptr || !*open) return false;
  (*open)();
  return true;
}

}  // namespace velto
