#include <gtest/gtest.h>

#include "categories/category_resolver.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using Source = CategoryDecision::Source;

CategoryRule rule(std::string_view subject, std::string pattern, std::string category) {
  return CategoryRule{Uuid::random(), std::move(pattern), std::string(subject), std::move(category),
                      testing::at("2026-01-01T00:00:00Z")};
}

TEST(CategoryDecision, NamesTheStepThatDecidedAndAgreesWithTheAnswer) {
  auto file = decodeCategorySeed(R"({"version":1,"categories":{
      "coding":{"apps":["code"],"hosts":["github.com"]},
      "entertainment":{"apps":["spotify"],"hosts":["youtube.com"]}}})");
  ASSERT_TRUE(file.ok()) << file.error();
  const std::vector<CategoryRule> rules = {rule("keyword", "Figma", "design"),
                                           rule("host", "example.com", "reading"),
                                           rule("app", "org.gnome.Terminal", "utilities")};
  const CategoryResolver resolver(
      rules, {}, std::make_shared<const CategorySeed>(CategorySeed::fromFile(*file)));
  struct Case {
    const char* bundle;
    std::optional<std::string_view> host;
    std::optional<std::string_view> title;
    std::string_view category;
    Source source;
    std::string_view matched;
  };
  const Case cases[] = {
      {"firefox", "figma.com", "Board – figma", "design", Source::keywordRule, "figma"},
      {"firefox", "docs.Example.com", std::nullopt, "reading", Source::hostRule, "example.com"},
      {"firefox", "www.youtube.com", std::nullopt, "entertainment", Source::builtInHost,
       "youtube.com"},
      {"org.gnome.terminal", std::nullopt, std::nullopt, "utilities", Source::appRule,
       "org.gnome.terminal"},
      {"Code", std::nullopt, std::nullopt, "coding", Source::builtInApp, "code"},
      {"unknown.app", "nowhere.test", "nothing here", "other", Source::nothing, ""},
  };
  for (const Case& c : cases) {
    const CategoryDecision decision = resolver.decide(c.bundle, c.host, c.title);
    EXPECT_EQ(decision.category, c.category) << c.bundle;
    EXPECT_EQ(decision.category, resolver.category(c.bundle, c.host, c.title)) << c.bundle;
    EXPECT_EQ(decision.source, c.source) << c.bundle << " " << rawValue(decision.source);
    EXPECT_EQ(decision.matched, c.matched) << c.bundle;
  }
}

}  // namespace
}  // namespace velto
