#include "base/strings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velto {
namespace {

// The placeholders of `text` in argument order: a positional one ("%2$@") counts as its kind
// ("%@") at its position, so a translation may reorder arguments but not drop or repeat one.
// Anything else after a '%' (other than "%%") is reported as "%?" so that a mistyped
// placeholder in a translation never matches English.
std::vector<std::string> placeholdersOf(std::string_view text) {
  static constexpr std::array<std::string_view, 8> kKinds = {
      "%{bool,public}d", "%{public}s", "%{public}d", "%{public}@", "%lld", "%@", "%d", "%s"};
  std::vector<std::pair<size_t, std::string>> found;  // (argument position, kind)
  size_t next = 1;
  for (size_t i = text.find('%'); i != std::string_view::npos; i = text.find('%', i)) {
    if (text.substr(i, 2) == "%%") {
      i += 2;
      continue;
    }
    size_t j = i + 1;
    size_t position = 0;
    while (j < text.size() && text[j] >= '0' && text[j] <= '9')
      position = position * 10 + (text[j++] - '0');
    if (j > i + 1 && j < text.size() && text[j] == '$') {
      ++j;
    } else {
      j = i + 1;
      position = 0;
    }
    // The kind as written without its position: '%' and what follows the position.
    const std::string rest = "%" + std::string(text.substr(j, 16));
    std::string kind = "%?";
    for (std::string_view candidate : kKinds) {
      if (rest.starts_with(candidate)) {
        kind = candidate;
        break;
      }
    }
    found.emplace_back(position > 0 ? position : next++, kind);
    i = kind == "%?" ? j : j + kind.size() - 1;
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> out;
  for (size_t k = 0; k < found.size(); ++k) {
    out.push_back(found[k].first == k + 1 ? found[k].second : "%?");  // positions 1..n, once each
  }
  return out;
}

std::set<std::string> allKeys() {
  std::set<std::string> keys;
  for (std::string_view language : i18n::kLanguages) {
    for (const std::string& key : i18n::keys(language)) keys.insert(key);
  }
  return keys;
}

TEST(StringsTest, EveryKeyIsInEveryCatalog) {
  const std::set<std::string> keys = allKeys();
  ASSERT_FALSE(i18n::keys("en").empty());
  for (std::string_view language : i18n::kLanguages) {
    for (const std::string& key : keys) {
      EXPECT_TRUE(i18n::has(language, key)) << language << " lacks \"" << key << "\"";
    }
  }
}

TEST(StringsTest, TextsAreNonEmptyAndKeepEnglishPlaceholders) {
  for (const std::string& key : i18n::keys("en")) {
    // The placeholders a key names ("away.prompt.yes %@") are the ones its English text takes.
    const size_t space = key.find(' ');
    const std::string_view named =
        space == std::string::npos ? std::string_view() : std::string_view(key).substr(space);
    const std::vector<std::string> expected = placeholdersOf(named);
    for (std::string_view language : i18n::kLanguages) {
      SCOPED_TRACE(std::string(language) + " \"" + key + "\"");
      const std::string_view text = i18n::lookup(language, key);
      EXPECT_FALSE(text.empty());
      EXPECT_EQ(placeholdersOf(text), expected) << text;
    }
  }
}

TEST(StringsTest, PlaceholderScanRecognisesKindsAndFlagsTypos) {
  using List = std::vector<std::string>;
  EXPECT_EQ(placeholdersOf("%@ of %lld, 100%%"), (List{"%@", "%lld"}));
  EXPECT_EQ(placeholdersOf("failed: %{public}s"), (List{"%{public}s"}));
  EXPECT_EQ(placeholdersOf("% @ and %ld"), (List{"%?", "%?"}));
  EXPECT_EQ(placeholdersOf("%2$@ içinde %1$@"), (List{"%@", "%@"}));
  EXPECT_EQ(placeholdersOf("%1$@ and %1$@"), (List{"%@", "%?"}));
}

TEST(StringsTest, HelpKeepsOptionNames) {
  for (std::string_view language : i18n::kLanguages) {
    const std::string_view help = i18n::lookup(language, "cli.help");
    EXPECT_NE(help.find("--help"), std::string_view::npos) << language;
    EXPECT_NE(help.find("--version"), std::string_view::npos) << language;
    EXPECT_NE(i18n::lookup(language, "cli.unknownCommand %@").find("velto --help"),
              std::string_view::npos)
        << language;
  }
}

TEST(StringsTest, MissingTextsFallBackToEnglishThenToTheKey) {
  // A language without a catalog reads English.
  EXPECT_EQ(i18n::text("pt", "away.prompt.yes %@", "Firefox"), "Yes, Firefox");
  EXPECT_FALSE(i18n::has("pt", "away.prompt.yes %@"));
  // A supported language uses its own text.
  const std::string german = i18n::text("de", "away.prompt.yes %@", "Firefox");
  EXPECT_NE(german, "Yes, Firefox");
  EXPECT_NE(german.find("Firefox"), std::string::npos);
  // A key no catalog has reads as its text part, without placeholders or arguments.
  EXPECT_EQ(i18n::lookup("de", "no.such.key %@ %lld"), "no.such.key");
  EXPECT_EQ(i18n::text("fr", "no.such.key %@", "x"), "no.such.key");
  EXPECT_EQ(i18n::text("en", "no.such.plainKey"), "no.such.plainKey");
}

class StringsResolveLanguageTest : public ::testing::Test {
 protected:
  static constexpr std::array<const char*, 4> kVariables = {"LANGUAGE", "LC_ALL", "LC_MESSAGES",
                                                            "LANG"};

  void SetUp() override {
    for (size_t i = 0; i < kVariables.size(); ++i) {
      if (const char* value = std::getenv(kVariables[i])) saved_[i] = value;
      unsetenv(kVariables[i]);
    }
  }

  void TearDown() override {
    for (size_t i = 0; i < kVariables.size(); ++i) {
      if (saved_[i]) {
        setenv(kVariables[i], saved_[i]->c_str(), 1);
      } else {
        unsetenv(kVariables[i]);
      }
    }
  }

  // Values in the order of kVariables; nullptr leaves a variable unset.
  static void setSession(const std::array<const char*, 4>& values) {
    for (size_t i = 0; i < kVariables.size(); ++i) {
      if (values[i] != nullptr) {
        setenv(kVariables[i], values[i], 1);
      } else {
        unsetenv(kVariables[i]);
      }
    }
  }

 private:
  std::array<std::optional<std::string>, 4> saved_;
};

TEST_F(StringsResolveLanguageTest, FollowsTheSessionLocale) {
  struct Case {
    std::array<const char*, 4> session;  // LANGUAGE, LC_ALL, LC_MESSAGES, LANG
    const char* setting;
    const char* expected;
  };
  const Case cases[] = {
      {{nullptr, nullptr, nullptr, nullptr}, "auto", "en"},
      {{nullptr, nullptr, nullptr, "de_DE.UTF-8"}, "auto", "de"},
      {{nullptr, nullptr, "fr_FR.UTF-8", "de_DE.UTF-8"}, "auto", "fr"},
      {{nullptr, "es_ES.UTF-8", "fr_FR.UTF-8", "de_DE.UTF-8"}, "auto", "es"},
      {{"tr:de", "es_ES.UTF-8", nullptr, nullptr}, "auto", "tr"},
      // $LANGUAGE is a preference list: the first supported entry wins.
      {{"pt_BR:pt:fr", nullptr, nullptr, "de_DE.UTF-8"}, "auto", "fr"},
      // Nothing supported in $LANGUAGE: the locale variables decide.
      {{"pt_BR", nullptr, nullptr, "de_DE.UTF-8"}, "auto", "de"},
      {{"", nullptr, nullptr, "tr_TR.UTF-8"}, "auto", "tr"},
      {{nullptr, nullptr, nullptr, "pt_BR.UTF-8"}, "auto", "en"},
      {{nullptr, nullptr, nullptr, "C.UTF-8"}, "auto", "en"},
      {{nullptr, nullptr, nullptr, "fr_CA.UTF-8@euro"}, "auto", "fr"},
      // An explicit supported language wins over the session.
      {{"de", "de_DE.UTF-8", nullptr, "de_DE.UTF-8"}, "tr", "tr"},
      {{nullptr, nullptr, nullptr, "es_ES.UTF-8"}, "en", "en"},
      // An unknown setting reads like "auto".
      {{nullptr, nullptr, nullptr, "es_ES.UTF-8"}, "pt", "es"},
      {{nullptr, nullptr, nullptr, "pt_PT.UTF-8"}, "", "en"},
  };
  for (const Case& c : cases) {
    setSession(c.session);
    SCOPED_TRACE(std::string("setting \"") + c.setting + "\", LANG " +
                 (c.session[3] ? c.session[3] : "(unset)"));
    EXPECT_EQ(i18n::resolveLanguage(c.setting), c.expected);
  }
}

}  // namespace
}  // namespace velto
