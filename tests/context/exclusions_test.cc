#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "base/files.h"
#include "context/exclusion_list.h"
#include "context/exclusion_store.h"
#include "settings/settings.h"
#include "settings/settings_keys.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

using nlohmann::json;

TEST(ExclusionListTest, MatchesAppsAndHostsIgnoringCase) {
  ExclusionList list;
  list.apps = {{"com.Example.App", "Example"}};
  list.hosts = {"example.com", "Social.NET"};
  EXPECT_TRUE(list.excludesApp("com.example.app"));
  EXPECT_TRUE(list.excludesApp("COM.EXAMPLE.APP"));
  EXPECT_FALSE(list.excludesApp("com.example.app2"));
  EXPECT_FALSE(list.excludesApp(""));

  const std::pair<std::optional<std::string_view>, bool> hosts[] = {
      {"example.com", true},
      {"docs.example.com", true},
      {"a.b.example.com", true},
      {"EXAMPLE.COM", true},
      {"social.net", true},
      {"m.social.net", true},
      {"example.org", false},
      {"notexample.com", false},
      {"example.com.evil.io", false},
      {".example.com", true},
      {"com", false},
      {"", false},
      {std::nullopt, false},
  };
  for (const auto& [host, excluded] : hosts) {
    EXPECT_EQ(list.excludesHost(host), excluded) << host.value_or("(absent)");
  }
}

TEST(ExclusionListTest, NormalisesTypedHosts) {
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"https://www.Example.com/path", "example.com"},
      {"  news.ycombinator.com \n", "news.ycombinator.com"},
      {"www.reddit.com/r/cpp", "reddit.com"},
      {"user@mail.example.org:993", "mail.example.org"},
      {"http://localhost:8080", std::nullopt},
      {"localhost", std::nullopt},
      {"example.", std::nullopt},
      {".example", std::nullopt},
      {"about:blank", std::nullopt},
      {"chrome://settings", std::nullopt},
      {"", std::nullopt},
      {"   ", std::nullopt},
      {"exa mple.com", std::nullopt},
  };
  for (const auto& [typed, expected] : cases) {
    EXPECT_EQ(normalizeTypedHost(typed), expected) << typed;
  }
}

TEST(ExclusionListTest, JsonRoundTripAndDamagedForms) {
  ExclusionList list;
  list.apps = {{"org.signal.Signal", "Signal"}};
  list.hosts = {"example.com"};
  list.skipPrivateWindows = true;
  const json encoded = toJson(list);
  EXPECT_EQ(encoded, json::parse(R"({"apps":[{"bundleId":"org.signal.Signal","name":"Signal"}],
                                     "hosts":["example.com"],"skipPrivateWindows":true})"));
  EXPECT_EQ(*exclusionListFromJson(encoded), list);

  EXPECT_EQ(*exclusionListFromJson(json::object()), ExclusionList{});
  EXPECT_EQ(exclusionListFromJson(json::parse(R"({"apps":[{"bundleId":"x"}]})"))->apps,
            (std::vector<ExcludedApp>{{"x", "x"}}));
  for (const char* bad :
       {R"([])", R"({"apps":{}})", R"({"apps":[{"name":"x"}]})", R"({"apps":[{"bundleId":1}]})",
        R"({"apps":[{"bundleId":"a","name":2}]})", R"({"hosts":"example.com"})", R"({"hosts":[1]})",
        R"({"skipPrivateWindows":"yes"})"}) {
    EXPECT_FALSE(exclusionListFromJson(json::parse(bad)).ok()) << bad;
  }
}

class ExclusionStoreTest : public ::testing::Test {
 protected:
  std::filesystem::path path() const { return dir_ / "settings.json"; }
  json stored() const {
    return json::parse(*files::readAll(path())).value(std::string(keys::kExclusions), json());
  }

  testing::TempDir dir_;
  NoticeBus bus_;
};

TEST_F(ExclusionStoreTest, ChangesAreWrittenAndPublishedOnce) {
  Settings settings(path(), bus_);
  ExclusionStore store(settings, bus_);
  int published = 0;
  Subscription subscription = store.subscribe([&] { ++published; });

  EXPECT_EQ(store.addHost("https://www.Example.com/path"), "example.com");
  EXPECT_EQ(published, 1);
  EXPECT_EQ(store.addHost("EXAMPLE.com"), "example.com");  // listed already: no change
  EXPECT_EQ(store.addHost("localhost"), std::nullopt);
  EXPECT_EQ(published, 1);
  store.addApp("com.Example.App", "Example");
  store.addApp("com.example.app", "Example 2");  // renames, no duplicate
  store.setSkipPrivateWindows(true);
  EXPECT_EQ(published, 4);

  EXPECT_TRUE(store.isExcluded("com.example.APP"));
  EXPECT_TRUE(store.isExcludedHost("docs.example.com"));
  EXPECT_EQ(stored(), json::parse(R"({"apps":[{"bundleId":"com.Example.App","name":"Example 2"}],
                                      "hosts":["example.com"],"skipPrivateWindows":true})"));

  // A second store over the same file reads the same list.
  Settings again(path(), bus_);
  EXPECT_EQ(ExclusionStore(again, bus_).list(), store.list());

  store.removeApp("COM.EXAMPLE.APP");
  store.removeHost("Example.com");
  EXPECT_EQ(published, 6);
  EXPECT_EQ(store.list(), (ExclusionList{{}, {}, true}));
}

TEST_F(ExclusionStoreTest, PicksUpAnotherProcessesWrite) {
  Settings settings(path(), bus_);
  ExclusionStore store(settings, bus_);
  int published = 0;
  Subscription subscription = store.subscribe([&] { ++published; });

  ASSERT_TRUE(files::writeAtomically(
      path(), R"({"velto.exclusions": {"hosts": ["video.example"], "skipPrivateWindows": true}})"));
  settings.reloadIfChanged();
  EXPECT_EQ(published, 1);
  EXPECT_TRUE(store.isExcludedHost("www.video.example"));
  EXPECT_TRUE(store.skipPrivateWindows());
}

TEST_F(ExclusionStoreTest, LogsUnreadableAndUnwritableLists) {
  testing::LogCapture log;
  std::ofstream(path()) << R"({"velto.exclusions": {"hosts": "example.com"}})";
  Settings settings(path(), bus_);
  ExclusionStore store(settings, bus_);
  EXPECT_EQ(store.list(), ExclusionList{});
  ASSERT_EQ(log.lines.size(), 1u);
  EXPECT_EQ(log.lines[0], "Could not read exclusions: \"hosts\" is not an array");

  // A name that is not UTF-8 cannot be encoded: the change holds here but is not written.
  store.addApp("bad.app", "Name \xff");
  EXPECT_TRUE(store.isExcluded("bad.app"));
  ASSERT_EQ(log.lines.size(), 2u);
  EXPECT_TRUE(log.lines[1].starts_with("Could not write exclusions: ")) << log.lines[1];
  EXPECT_EQ(stored(), json::parse(R"({"hosts": "example.com"})"));
}

}  // namespace
}  // namespace velto
