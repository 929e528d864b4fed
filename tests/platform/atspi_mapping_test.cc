#include "platform/linux/atspi_mapping.h"

#include <gtest/gtest.h>

namespace velto::platform::atspi {
namespace {

using Role = AccessibleElement::Role;

TEST(AtspiMapping, RolesOfDocumentsAndTextFields) {
  const struct {
    std::uint32_t atspiRole;
    Role expected;
  } cases[] = {
      {kRoleDocumentWeb, Role::webArea},
      {kRoleDocumentFrame, Role::webArea},
      {kRoleEntry, Role::textField},
      {kRoleText, Role::textField},
      {kRoleFrame, Role::other},
      {94 /* document text */, Role::other},
      {40 /* password text */, Role::other},
      {0, Role::other},
      {9999, Role::other},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.atspiRole);
    EXPECT_EQ(roleOf(c.atspiRole), c.expected);
  }
}

TEST(AtspiMapping, DocumentAddressFromGeckoOrChromiumAttributes) {
  using Attributes = std::map<std::string, std::string>;
  const struct {
    const char* what;
    Attributes attributes;
    std::optional<std::string> expected;
  } cases[] = {
      {"Gecko",
       {{"DocURL", "https://example.org/page"}, {"MimeType", "text/html"}},
       "https://example.org/page"},
      {"Chromium", {{"URI", "https://example.org/c"}, {"Title", "C"}}, "https://example.org/c"},
      {"DocURL is preferred",
       {{"DocURL", "https://a.io/"}, {"URI", "https://b.io/"}},
       "https://a.io/"},
      {"an empty DocURL falls back to URI",
       {{"DocURL", ""}, {"URI", "https://b.io/"}},
       "https://b.io/"},
      {"both empty", {{"DocURL", ""}, {"URI", ""}}, std::nullopt},
      {"keys are exact", {{"docurl", "https://a.io/"}, {"url", "https://b.io/"}}, std::nullopt},
      {"no attributes", {}, std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(documentAddress(c.attributes), c.expected);
  }
}

TEST(AtspiMapping, StatesAreBitsOverWords) {
  const std::vector<std::uint32_t> activeAndFocused{(1u << kStateActive) | (1u << 12), 0};
  EXPECT_TRUE(hasState(activeAndFocused, kStateActive));
  EXPECT_TRUE(hasState(activeAndFocused, 12));
  EXPECT_FALSE(hasState(activeAndFocused, 0));
  EXPECT_FALSE(hasState(activeAndFocused, 33));
  // The second word carries states 32 and up.
  const std::vector<std::uint32_t> high{0, 1u << 3};
  EXPECT_TRUE(hasState(high, 35));
  EXPECT_FALSE(hasState(high, 3));
  EXPECT_FALSE(hasState(std::vector<std::uint32_t>{}, kStateActive));
  EXPECT_FALSE(hasState(std::vector<std::uint32_t>{~0u}, 40)) << "beyond the words given";
}

TEST(AtspiMapping, ActiveFrameIsTheActiveOneOrTheOnlyOne) {
  using States = std::optional<std::vector<std::uint32_t>>;
  const States active{{1u << kStateActive, 0}};
  const States inactive{{1u << 30, 0}};
  const States failed;
  const struct {
    const char* what;
    std::vector<States> frames;
    std::optional<std::size_t> expected;
  } cases[] = {
      {"the active one among several", {inactive, failed, active, active}, 2},
      {"the only frame even when not active", {inactive}, 0},
      {"the only frame whose state failed", {failed}, 0},
      {"none active among several", {inactive, failed}, std::nullopt},
      {"no frames", {}, std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(activeFrameIndex(c.frames), c.expected);
  }
}

}  // namespace
}  // namespace velto::platform::atspi
