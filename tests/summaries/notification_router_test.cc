#include "summaries/notification_router.h"

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(NotificationRouterTest, RoutesByWholeCategoryOnTheDefaultActionOnly) {
  NotificationRouter router;
  std::string opened;
  router.onOpenWeek = [&] { opened = "week"; };
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
  NotificationRouter unset;
  EXPECT_FALSE(unset.handleResponse("velto.daily", true));
}

}  // namespace
}  // namespace velto
