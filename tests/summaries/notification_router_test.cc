#include "summaries/notification_router.h"

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(NotificationRouterTest, RoutesByWholeCategoryOnTheDefaultActionOnly) {
  NotificationRouter router;
  std::string opened;
  router.onOpenWeek = [&](std::optional<Instant> about) {
    opened = about ? "week of " + std::to_string(about->time_since_epoch().count()) : "week";
  };
  router.onOpenToday = [&] { opened = "today"; };
  router.onOpenTodayOverview = [&] { opened = "overview"; };
  const std::tuple<const char*, bool, const char*> table[] = {
      {"velto.digest", true, "week"},
      {"velto.limit.week", true, "week"},
      {"velto.limit", true, "today"},
      {"velto.daily", true, "overview"},
      {"velto.limit.weekly", true, ""},
      {"velto.lim", true, ""},
      {"other", true, ""},
      {"velto.limit", false, ""},
  };
  for (const auto& [category, isDefault, expected] : table) {
    opened.clear();
    EXPECT_EQ(router.handleResponse(category, isDefault), std::string(expected) != "") << category;
    EXPECT_EQ(opened, expected) << category;
  }
  // The moment the notification tells about reaches the week's screen.
  EXPECT_TRUE(router.handleResponse("velto.digest", true, Instant(Microseconds(42))));
  EXPECT_EQ(opened, "week of 42");
  NotificationRouter unset;
  EXPECT_FALSE(unset.handleResponse("velto.daily", true));
}

}  // namespace
}  // namespace velto
