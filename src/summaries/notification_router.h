// Decides what a click on one of Velto's notifications opens, by the notification's category.
// Only a click on the notification itself (the default action) opens anything.
#pragma once

#include <functional>
#include <string_view>

namespace velto {

class NotificationRouter {
 public:
  static constexpr std::string_view kDigest = "velto.digest";
  static constexpr std::string_view kLimitWeek = "velto.limit.week";
  static constexpr std::string_view kLimit = "velto.limit";
  static constexpr std::string_view kDaily = "velto.daily";

  std::function<void()> onOpenWeek;
  std::function<void()> onOpenToday;
  std::function<void()> onOpenTodayOverview;

  // Routes a response; true when a screen was opened.
  bool handleResponse(std::string_view categoryIdentifier, bool isDefaultAction) const;
};

}  // namespace velto
