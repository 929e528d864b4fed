#include "base/text_format.h"

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(TextFormatTest, FillsEveryPlaceholderKindInOrder) {
  struct Case {
    const char* pattern;
    std::vector<std::string> args;
    const char* expected;
  };
  const Case cases[] = {
      {"Safety cap hit for %{public}s; cutting the segment",
       {"Firefox"},
       "Safety cap hit for Firefox; cutting the segment"},
      {"Tracking started (paused: %{bool,public}d)",
       {boolText(false)},
       "Tracking started (paused: false)"},
      {"Purged %{public}ld segments older than %{public}ld days",
       {"12", "90"},
       "Purged 12 segments older than 90 days"},
      {"Delete everything older than %lld days?", {"30"}, "Delete everything older than 30 days?"},
      {"%@ of %@", {"1h", "2h"}, "1h of 2h"},
      {"100%% sure, %s", {"yes"}, "100% sure, yes"},
      {"missing %@ and %@", {"one"}, "missing one and "},
      {"no placeholders", {"extra"}, "no placeholders"},
      {"trailing %", {}, "trailing %"},
      {"%1$@ of %2$@ today", {"45m", "1h"}, "45m of 1h today"},
      {"%2$@ içinde %1$@", {"45m", "1h"}, "1h içinde 45m"},
      {"%1$@ of %2$@ - over by %3$@ (%1$@)", {"a", "b", "c"}, "a of b - over by c (a)"},
      {"%{public} unclosed", {"x"}, "%{public} unclosed"},
      {"50% off %x", {"x"}, "50% off %x"},
  };
  for (const Case& c : cases) EXPECT_EQ(fillPlaceholders(c.pattern, c.args), c.expected);
}

}  // namespace
}  // namespace velto
