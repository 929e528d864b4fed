#include "categories/category_seed.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "base/files.h"
#include "categories/category_seed_location.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

// The source tree's copy (compiler caches may make __FILE__ relative, so not from there).
const std::filesystem::path kShippedSeed =
    std::filesystem::path(VELTO_SOURCE_DIR) / "resources" / "categories.json";

std::vector<std::string> problemsOf(const std::string& text) {
  auto file = decodeCategorySeed(text);
  EXPECT_TRUE(file.ok()) << file.error();
  return file ? validateCategorySeed(*file) : std::vector<std::string>{};
}

TEST(CategorySeedTest, ValidationWordsEveryProblemAndKeepsGoing) {
  using List = std::vector<std::string>;
  struct Case {
    const char* name;
    std::string json;
    List problems;
  };
  const Case cases[] = {
      {"clean",
       R"({"version":1,"categories":{"coding":{"apps":["code"],"hosts":["github.com"]}}})",
       {}},
      {"version", R"({"version":2,"categories":{}})", {"version 2, expected 1"}},
      {"unknown category",
       R"({"version":1,"categories":{"work":{"apps":["x"]}}})",
       {"unknown category 'work'"}},
      {"empty keys",
       R"({"version":1,"categories":{"coding":{"apps":[""],"hosts":[""]}}})",
       {"empty app key", "empty host key"}},
      {"not bare",
       R"({"version":1,"categories":{"reading":{"hosts":["https://a.com","a.com/x","a.com:80",
          "a b.com",".a.com","a..com","-a.com","bücher.de"]}}})",
       {"host 'https://a.com' is not a bare host", "host 'a.com/x' is not a bare host",
        "host 'a.com:80' is not a bare host", "host 'a b.com' is not a bare host",
        "host '.a.com' is not a bare host", "host 'a..com' is not a bare host",
        "host '-a.com' is not a bare host", "host 'bücher.de' is not a bare host"}},
      {"duplicates across categories, case ignored",
       R"({"version":1,"categories":{"coding":{"apps":["Code"],"hosts":["a.com"]},
          "reading":{"apps":["code"],"hosts":["A.com"]}}})",
       {"duplicate app key 'code'", "duplicate host key 'A.com'"}},
      {"repeat within one category is harmless",
       R"({"version":1,"categories":{"coding":{"apps":["code","code"],"hosts":["a.com","a.com"]}}})",
       {}},
      {"all at once",
       R"({"version":3,"categories":{"games":{},"ai":{"apps":[""]}}})",
       {"version 3, expected 1", "unknown category 'games'", "empty app key"}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(problemsOf(c.json), c.problems) << c.name;
  }
}

TEST(CategorySeedTest, DecodingFailsOnWrongShapes) {
  for (const char* text :
       {"", "[1]", "{\"categories\":{}}", "{\"version\":\"1\",\"categories\":{}}",
        "{\"version\":1}", "{\"version\":1,\"categories\":[]}",
        "{\"version\":1,\"categories\":{\"ai\":[]}}",
        "{\"version\":1,\"categories\":{\"ai\":{\"apps\":\"x\"}}}",
        "{\"version\":1,\"categories\":{\"ai\":{\"hosts\":[1]}}}"}) {
    EXPECT_FALSE(decodeCategorySeed(text).ok()) << text;
  }
  EXPECT_TRUE(decodeCategorySeed(R"({"version":1,"categories":{"ai":{}}})").ok());
}

TEST(CategorySeedTest, TableKeepsValidEntriesLowerCasedAndFirstListingWins) {
  auto file = decodeCategorySeed(R"({"version":2,"categories":{
      "games":{"apps":["steam"]},
      "coding":{"apps":["Com.Example.IDE",""],"hosts":["GitHub.com","bad host"]},
      "reading":{"apps":["com.example.ide"],"hosts":["github.com","arxiv.org"]}}})");
  ASSERT_TRUE(file.ok());
  const CategorySeed seed = CategorySeed::fromFile(*file);
  EXPECT_EQ(seed.appCategory("com.example.ide"), BuiltInCategory::coding);
  EXPECT_EQ(seed.hostCategory("github.com"), BuiltInCategory::coding);
  EXPECT_EQ(seed.hostCategory("arxiv.org"), BuiltInCategory::reading);
  EXPECT_EQ(seed.appCategory("steam"), std::nullopt);
  EXPECT_EQ(seed.appCount(), 1u);
  EXPECT_EQ(seed.hostCount(), 2u);
}

TEST(CategorySeedTest, LoadLogsMissingUnreadableAndProblemsAndNeverFails) {
  testing::TempDir dir;
  {
    testing::LogCapture log;
    EXPECT_EQ(CategorySeed::load(dir / "absent.json").appCount(), 0u);
    EXPECT_EQ(CategorySeed::load(std::nullopt).hostCount(), 0u);
    EXPECT_EQ(log.lines,
              std::vector<std::string>(
                  2, "Category seed missing from the bundle - starting with an empty table"));
  }
  {
    testing::LogCapture log;
    ASSERT_TRUE(files::writeAtomically(dir / "broken.json", "{\"version\":1,"));
    EXPECT_EQ(CategorySeed::load(dir / "broken.json").appCount(), 0u);
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_TRUE(log.lines[0].starts_with("Category seed unreadable: ")) << log.lines[0];
  }
  {
    testing::LogCapture log;
    ASSERT_TRUE(files::writeAtomically(
        dir / "flawed.json",
        R"({"version":2,"categories":{"work":{},"ai":{"hosts":["claude.ai","x y"]}}})"));
    const CategorySeed seed = CategorySeed::load(dir / "flawed.json");
    EXPECT_EQ(seed.hostCategory("claude.ai"), BuiltInCategory::ai);
    EXPECT_EQ(log.lines, std::vector<std::string>{
                             "Category seed has 3 problem(s): version 2, expected 1; unknown "
                             "category 'work'; host 'x y' is not a bare host"});
  }
}

TEST(CategorySeedTest, ShippedSeedIsCleanAndCoversEveryBuiltInButOther) {
  auto text = files::readAll(kShippedSeed);
  ASSERT_TRUE(text.ok()) << text.error();
  auto file = decodeCategorySeed(*text);
  ASSERT_TRUE(file.ok()) << file.error();
  EXPECT_EQ(validateCategorySeed(*file), std::vector<std::string>{});

  const CategorySeed seed = CategorySeed::fromFile(*file);
  EXPECT_GE(seed.appCount(), 300u);
  EXPECT_GE(seed.hostCount(), 600u);
  std::set<std::string> groups;
  for (const auto& [key, group] : file->categories) {
    if (!group.apps.empty() || !group.hosts.empty()) groups.insert(key);
  }
  EXPECT_EQ(groups, (std::set<std::string>{"coding", "writing", "design", "communication", "social",
                                           "entertainment", "reading", "ai", "utilities"}));
}

TEST(CategorySeedTest, ShippedSeedFilesCommonAppsOnBothPlatforms) {
  testing::LogCapture quiet;
  const CategorySeed seed = CategorySeed::load(kShippedSeed);
  EXPECT_TRUE(quiet.lines.empty());
  const std::pair<const char*, BuiltInCategory> apps[] = {
      {"com.microsoft.vscode", BuiltInCategory::coding},
      {"code", BuiltInCategory::coding},
      {"org.gnome.terminal", BuiltInCategory::coding},
      {"libreoffice-writer", BuiltInCategory::writing},
      {"com.tinyspeck.slackmacgap", BuiltInCategory::communication},
      {"com.slack.slack", BuiltInCategory::communication},
      {"org.telegram.desktop", BuiltInCategory::communication},
      {"spotify", BuiltInCategory::entertainment},
      {"obsidian", BuiltInCategory::writing},
      {"org.gnome.nautilus", BuiltInCategory::utilities},
  };
  for (const auto& [app, category] : apps) EXPECT_EQ(seed.appCategory(app), category) << app;
  // Browsers stay out of the app table: their time is filed by the site.
  for (const char* browser :
       {"firefox", "org.mozilla.firefox", "google-chrome", "com.apple.safari"}) {
    EXPECT_EQ(seed.appCategory(browser), std::nullopt) << browser;
  }
}

TEST(CategorySeedTest, SeedIsLookedForBesideTheInstallPrefixThenTheSourceTree) {
  EXPECT_EQ(categorySeedCandidates("/usr/local/bin/velto")[0],
            std::filesystem::path("/usr/local/share/velto/categories.json"));
  EXPECT_EQ(categorySeedCandidates("/src/velto/build/bin/velto")[1],
            std::filesystem::path("/src/velto/resources/categories.json"));

  testing::TempDir dir;
  std::filesystem::create_directories(dir / "share/velto");
  ASSERT_TRUE(files::writeAtomically(dir / "share/velto/categories.json", "{}"));
  EXPECT_EQ(findCategorySeed(dir / "bin/velto"), dir.path() / "share/velto/categories.json");
}

}  // namespace
}  // namespace velto
