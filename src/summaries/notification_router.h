// Decides what a click on one of Velto's notifications opens, by the notification's category and
// the moment it tells about. Only a click on the notification itself (the default action) opens
// anything.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "base/time.h"

namespace velto {

class NotificationRouter {
 public:
  static constexpr std::string_view kDigest = "velto.digest";
  static constexpr std::string_view kLimitWeek = "velto.limit.week";
  static constexpr std::string_view kLimit = "velto.limit";
  static constexpr std::string_view kDaily = "velto.daily";

  // The week holding `about` (the digest's reported week); none: the current week.
  std::function<void(std::optional<Instant> about)> onOpenWeek;
  std::function<void()> onOpenToday;
  std::function<void()> onOpenTodayOverview;

  // Routes a response; true when a screen was opened. `about` is the notification's
  // NotificationRequest::about.
  bool handleResponse(std::string_view categoryIdentifier, bool isDefaultAction,
                      std::optional<Instant> about = std::nullopt) const;
};

}  // namespace velto
