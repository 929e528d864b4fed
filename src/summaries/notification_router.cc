#include "summaries/notification_router.h"

namespace velto {

bool NotificationRouter::handleResponse(std::string_view category, bool isDefaultAction,
                                        std::optional<Instant> about) const {
  if (!isDefaultAction) return false;
  // Whole-string comparisons: neither identifier is treated as a prefix of another.
  if (category == kDigest || category == kLimitWeek) {
    if (!onOpenWeek) return false;
    onOpenWeek(about);
    return true;
  }
  const std::function<void()>* open = nullptr;
  if (category == kLimit) {
    open = &onOpenToday;
  } else if (category == kDaily) {
    open = &onOpenTodayOverview;
  }
  if (open == nullptr || !*open) return false;
  (*open)();
  return true;
}

}  // namespace velto
