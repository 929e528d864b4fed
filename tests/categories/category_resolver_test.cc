#include "categories/category_resolver.h"

#include <gtest/gtest.h>

#include "categories/category_resolution.h"
#include "settings/settings.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using testing::at;

std::shared_ptr<const CategorySeed> seedOf(const std::string& json) {
  auto file = decodeCategorySeed(json);
  EXPECT_TRUE(file.ok()) << file.error();
  return std::make_shared<const CategorySeed>(CategorySeed::fromFile(*file));
}

std::shared_ptr<const CategorySeed> testSeed() {
  return seedOf(R"({"version":1,"categories":{
      "coding":{"apps":["com.microsoft.VSCode","code"],"hosts":["github.com","example.com"]},
      "social":{"hosts":["reddit.com"]},
      "entertainment":{"apps":["spotify"],"hosts":["youtube.com"]},
      "design":{"hosts":["figma.com"]},
      "reading":{"hosts":["com"]}}})");
}

CategoryRule rule(std::string_view subject, std::string pattern, std::string category,
                  const char* createdAt = "2026-01-01T00:00:00Z") {
  CategoryRule out;
  out.id = Uuid::random();
  out.subjectRaw = subject;
  out.pattern = std::move(pattern);
  out.categoryRaw = std::move(category);
  out.createdAt = at(createdAt);
  return out;
}

struct Case {
  const char* what;
  std::string bundle;
  std::optional<std::string> host;
  std::optional<std::string> title;
  std::string_view expected;
};

void expectCases(const CategoryResolver& resolver, std::initializer_list<Case> cases) {
  for (const Case& c : cases) {
    std::optional<std::string_view> host, title;
    if (c.host) host = *c.host;
    if (c.title) title = *c.title;
    EXPECT_EQ(resolver.category(c.bundle, host, title), c.expected) << c.what;
  }
}

TEST(CategoryResolverTest, PrecedenceOfRulesAndSeed) {
  const std::vector<CategoryRule> rules = {
      rule("keyword", "Figma", "design"),     rule("host", "github.com", "reading"),
      rule("app", "firefox", "utilities"),    rule("app", "code", "writing"),
      rule("host", "youtube.com", "reading"),
  };
  const CategoryResolver resolver(rules, {}, testSeed());
  expectCases(resolver,
              {
                  {"a keyword beats a host rule", "firefox", "github.com",
                   "Figma plugin API - GitHub", "design"},
                  {"a keyword matches the host when the title does not", "firefox", "www.figma.com",
                   "", "design"},
                  {"a user host rule beats the seed's host", "firefox", "github.com",
                   "Pull requests", "reading"},
                  {"the seed's host table beats the user's app rule", "firefox", "reddit.com",
                   std::nullopt, "social"},
                  {"without a host entry the user's app rule applies", "firefox", "unknown.org",
                   std::nullopt, "utilities"},
                  {"a user app rule beats the seed's app table", "code", std::nullopt, std::nullopt,
                   "writing"},
                  {"the seed's app table, case ignored", "COM.Microsoft.vscode", std::nullopt,
                   std::nullopt, "coding"},
                  {"nothing matches", "org.example.unknown", "unknown.org", "Title", "other"},
                  {"empty bundle and no host", "", std::nullopt, std::nullopt, "other"},
              });
}

TEST(CategoryResolverTest, HostSuffixWalkPrefersTheMostSpecificRule) {
  const std::vector<CategoryRule> rules = {
      rule("host", "example.com", "writing"),
      rule("host", "b.example.com", "social"),
  };
  const CategoryResolver resolver(rules, {}, testSeed());
  expectCases(
      resolver,
      {
          {"subdomain of a user rule", "firefox", "a.b.example.com", std::nullopt, "social"},
          {"sibling falls to the broader rule", "firefox", "c.example.com", std::nullopt,
           "writing"},
          {"walk is by labels, not by text", "firefox", "notexample.com", std::nullopt, "reading"},
          {"seed walk down to the last label", "firefox", "docs.github.com", std::nullopt,
           "coding"},
          {"host case ignored", "firefox", "Gist.GitHub.COM", std::nullopt, "coding"},
      });
  // Without user rules the seed's own suffix walk files every subdomain.
  const CategoryResolver seedOnly({}, {}, testSeed());
  EXPECT_EQ(seedOnly.category("firefox", "m.youtube.com"), "entertainment");
  EXPECT_EQ(seedOnly.category("firefox", "anything.net"), "other");
}

TEST(CategoryResolverTest, KeywordsIgnoreCaseAndWordBoundariesAndSkipEmptyOnes) {
  const std::vector<CategoryRule> rules = {
      rule("keyword", "", "social"),
      rule("keyword", "ÇÖZÜM", "writing"),
      rule("keyword", "git", "coding"),
  };
  const CategoryResolver resolver(rules, {}, testSeed());
  expectCases(
      resolver,
      {
          {"substring inside a word", "spotify", std::nullopt, "Digital Music", "coding"},
          {"non-ASCII title lower-cased", "spotify", std::nullopt, "Hızlı çözüm notları",
           "writing"},
          {"empty keyword never matches", "spotify", std::nullopt, "Anything", "entertainment"},
          {"no title and no host", "spotify", std::nullopt, std::nullopt, "entertainment"},
      });
}

// A keyword is looked for in the title, then in the host. Its category differs from every
// other rule and from the seed, so each case shows which rule filed the time.
TEST(CategoryResolverTest, AKeywordMatchesTheTitleOrElseTheHost) {
  const std::vector<CategoryRule> rules = {
      rule("keyword", "YouTube", "writing"),
      rule("host", "youtube.com", "social"),
      rule("app", "firefox", "utilities"),
  };
  const CategoryResolver resolver(rules, {}, testSeed());
  expectCases(
      resolver,
      {
          {"in the title only", "firefox", "github.com", "YouTube Premium plans", "writing"},
          {"in the host only, the title lacks it", "firefox", "youtube.com", "Lo-fi beats",
           "writing"},
          {"in the host only, no title", "firefox", "www.youtube.com", std::nullopt, "writing"},
          {"in the host only, an empty title", "firefox", "m.YouTube.com", "", "writing"},
          {"in both", "firefox", "youtube.com", "Lo-fi beats - YouTube", "writing"},
          {"in the title, no host", "spotify", std::nullopt, "youtube mix", "writing"},
          {"in neither: the seed's host", "firefox", "reddit.com", "Videos", "social"},
          {"in neither: the user's app rule", "firefox", "tube.io", "you", "utilities"},
          {"no title and no host", "spotify", std::nullopt, std::nullopt, "entertainment"},
      });
}

TEST(CategoryResolverTest, RuleTargetsLegacyDeletedAndCustom) {
  const std::vector<CategoryRule> rules = {
      rule("app", "legacy", "work"),      rule("app", "gone", "3F2C-deleted"),
      rule("app", "mine", "custom-1"),    rule("host", "client.example", "custom-1"),
      rule("bogus", "spotify", "coding"), rule("app", "  ", "coding"),
  };
  const std::vector<std::string> customIds = {"custom-1"};
  const CategoryResolver resolver(rules, customIds, testSeed());
  expectCases(
      resolver,
      {
          {"legacy work files under coding", "legacy", std::nullopt, std::nullopt, "coding"},
          {"a deleted custom category resolves to other", "gone", std::nullopt, std::nullopt,
           "other"},
          {"an existing custom category", "mine", std::nullopt, std::nullopt, "custom-1"},
          {"custom host rule", "firefox", "portal.client.example", std::nullopt, "custom-1"},
          {"unknown subject is ignored", "spotify", std::nullopt, std::nullopt, "entertainment"},
      });
}

TEST(CategoryResolverTest, NewestRuleWinsForTheSamePatternAndKeywordsRunNewestFirst) {
  const std::vector<CategoryRule> rules = {
      rule("app", "Spotify", "reading", "2026-01-01T00:00:00Z"),
      rule("app", "spotify", "writing", "2026-03-01T00:00:00Z"),
      rule("host", "www.Figma.com", "coding", "2026-02-01T00:00:00Z"),
      rule("keyword", "report", "writing", "2026-01-01T00:00:00Z"),
      rule("keyword", "bug report", "coding", "2026-02-01T00:00:00Z"),
  };
  const CategoryResolver resolver(rules, {}, testSeed());
  expectCases(resolver,
              {
                  {"newer app rule", "spotify", std::nullopt, std::nullopt, "writing"},
                  {"host rule typed with www.", "firefox", "figma.com", std::nullopt, "coding"},
                  {"newer keyword tried first", "code", std::nullopt, "Bug report #12", "coding"},
                  {"older keyword still applies", "code", std::nullopt, "Weekly report", "writing"},
              });
}

TEST(CategoryResolverTest, EmptyResolverFilesEverythingUnderOther) {
  const CategoryResolver resolver;
  EXPECT_EQ(resolver.category("code", "github.com", "title"), "other");
}

TEST(CategoryResolutionTest, RebuildsOnRuleChangesAndWhenACustomCategoryIsDeleted) {
  testing::TempDir dir;
  testing::LogCapture quiet;
  NoticeBus bus;
  Settings settings(dir / "settings.json", bus);
  CategoryCatalog catalog(settings, bus);
  const CustomCategory clients = catalog.addCustom("Clients", "gold", "briefcase",
                                                   FocusLabel::focus, at("2026-01-01T00:00:00Z"));
  CategoryResolution resolution(testSeed(), catalog);

  const auto before = resolution.current();
  EXPECT_EQ(before->category("acme"), "other");

  resolution.rebuild({rule("app", "acme", clients.id)});
  const auto withRules = resolution.current();
  EXPECT_EQ(withRules->category("acme"), clients.id);
  EXPECT_EQ(before->category("acme"), "other") << "a resolver handed out earlier is unchanged";

  std::vector<std::string> deleted;
  catalog.addDeletionHandler([&](const std::string& id) { deleted.push_back(id); });
  ASSERT_TRUE(catalog.deleteCustom(clients.id));
  EXPECT_EQ(deleted, std::vector<std::string>{clients.id});
  EXPECT_EQ(resolution.current()->category("acme"), "other");
  EXPECT_EQ(withRules->category("acme"), clients.id);
}

}  // namespace
}  // namespace velto
