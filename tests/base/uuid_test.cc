#include "base/uuid.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace velto {
namespace {

TEST(UuidTest, TextAndBytesRoundTrip) {
  const Uuid id = Uuid::random();
  EXPECT_FALSE(id.isNil());
  EXPECT_EQ(Uuid::parse(id.toString()), id);
  EXPECT_EQ(Uuid::fromBytes(id.bytes().data(), 16), id);
  EXPECT_EQ((id.bytes()[6] >> 4), 4);  // version 4
  EXPECT_EQ(Uuid::parse("6F9619FF-8B86-D011-B42D-00C04FC964FF").value().toString(),
            "6f9619ff-8b86-d011-b42d-00c04fc964ff");
  for (const char* bad :
       {"", "6f9619ff8b86d011b42d00c04fc964ff", "6f9619ff-8b86-d011-b42d-00c04fc964fg"}) {
    EXPECT_EQ(Uuid::parse(bad), std::nullopt) << bad;
  }
  EXPECT_EQ(Uuid::fromBytes(id.bytes().data(), 15), std::nullopt);
  std::unordered_set<Uuid> many;
  for (int i = 0; i < 1000; ++i) many.insert(Uuid::random());
  EXPECT_EQ(many.size(), 1000u);
}

}  // namespace
}  // namespace velto
