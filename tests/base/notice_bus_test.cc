#include "base/notice_bus.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace velto {
namespace {

TEST(NoticeBusTest, DeliversByNameInSubscriptionOrder) {
  NoticeBus bus;
  std::vector<std::string> seen;
  Subscription a =
      bus.subscribe("studio.kestrova.Velto.segmentsDidChange", [&] { seen.push_back("a"); });
  Subscription b =
      bus.subscribe("studio.kestrova.Velto.segmentsDidChange", [&] { seen.push_back("b"); });
  Subscription c = bus.subscribe("velto.retentionDays", [&] { seen.push_back("c"); });
  bus.post("studio.kestrova.Velto.segmentsDidChange");
  bus.post("nobody.listens");
  EXPECT_EQ(seen, (std::vector<std::string>{"a", "b"}));
}

TEST(NoticeBusTest, HandlersMayUnsubscribeAndSubscribeWhileDelivering) {
  NoticeBus bus;
  std::vector<std::string> seen;
  std::optional<Subscription> second;
  Subscription late;
  bool subscribedLate = false;
  Subscription first = bus.subscribe("n", [&] {
    seen.push_back("first");
    second.reset();  // removes a later handler of the same post
    if (!subscribedLate) late = bus.subscribe("n", [&] { seen.push_back("late"); });
    subscribedLate = true;
  });
  second = bus.subscribe("n", [&] { seen.push_back("second"); });
  bus.post("n");
  EXPECT_EQ(seen, (std::vector<std::string>{"first"}));
  seen.clear();
  bus.post("n");
  EXPECT_EQ(seen, (std::vector<std::string>{"first", "late"}));
}

TEST(NoticeBusTest, ASubscriptionMayOutliveTheBus) {
  Subscription kept;
  {
    NoticeBus bus;
    kept = bus.subscribe("n", [] {});
  }
  kept.reset();
  SUCCEED();
}

}  // namespace
}  // namespace velto
