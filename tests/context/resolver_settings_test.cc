// The context resolver where the user's settings meet: detail capture on or off, each kind of
// exclusion, and browser tab reading on or off.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "context/context_resolver.h"
#include "context/exclusion_store.h"
#include "settings/settings.h"
#include "test_support/temp_dir.h"

namespace velto {

// Readable failure messages (found by argument-dependent lookup, hence outside the unnamed
// namespace; internal linkage keeps them to this file).
static void PrintTo(const ContextResolver::Resolution& resolution, std::ostream* out) {
  if (resolution.isExcluded()) {
    *out << "excluded";
    return;
  }
  const ActivityContext& context = resolution.context;
  *out << "{" << context.bundleId << ", title " << context.windowTitle.value_or("none") << ", host "
       << context.host.value_or("none") << ", detail "
       << (resolution.detail ? resolution.detail->key : "none") << "}";
}

namespace {

using Resolution = ContextResolver::Resolution;

// Keeps each read until the test answers it.
class HeldTabReader final : public BrowserTabReader {
 public:
  void readActiveTab(const BrowserCatalog::Entry&, int,
                     std::function<void(BrowserTabAnswer)> done) override {
    pending.push_back(std::move(done));
  }
  bool isEnabled() const override { return enabled; }

  std::vector<std::function<void(BrowserTabAnswer)>> pending;
  bool enabled = true;
};

ActivityContext firefoxContext(std::optional<std::string> title = std::nullopt,
                               std::optional<std::string> host = std::nullopt) {
  return ActivityContext{"firefox",       "Firefox",    std::move(title),
                         std::move(host), std::nullopt, std::nullopt};
}

// Only the application: what detail capture off records.
Resolution appOnly() {
  return Resolution{Resolution::Kind::context, firefoxContext(), std::nullopt};
}
// The tab's site and title.
Resolution site(const std::string& title, const std::string& host) {
  return Resolution{Resolution::Kind::context, firefoxContext(title, host),
                    ActivityDetail{host, host, ActivityDetailKind::site}};
}
// The window title alone (the tab was not read, or could not be).
Resolution windowTitle(const std::string& title) {
  return Resolution{Resolution::Kind::context, firefoxContext(title), std::nullopt};
}

const BrowserTab kPlainTab{"Pulls", "https://github.com/pulls", false};
// The browser says the window is private; its title does not.
const BrowserTab kPrivateTab{"Pulls", "https://github.com/pulls", true};
const BrowserTab kListedHostTab{"Mail", "https://mail.example.com/", false};
const BrowserTabAnswer kUnreadable = BrowserProbeError::timeout();
const char* const kPlainTitle = "Pulls - Mozilla Firefox";
const char* const kPrivateTitle = "Pulls - Mozilla Firefox Private Browsing";

struct Case {
  const char* what;
  bool capture;
  bool listHost;     // example.com is an excluded host
  bool skipPrivate;  // private windows are skipped
  bool excludeApp;   // the browser itself is excluded
  bool readerOn;
  const char* title;
  std::optional<BrowserTabAnswer> tab;  // none: the tab must not be read
  Resolution expected;
};

void PrintTo(const Case& c, std::ostream* out) {
  *out << c.what;
}

class ResolverSettingsTest : public ::testing::TestWithParam<Case> {};

TEST_P(ResolverSettingsTest, ReadsTheTabWhenNeededAndAppliesEveryExclusion) {
  const Case& c = GetParam();
  testing::TempDir dir;
  NoticeBus bus;
  Settings settings(dir / "settings.json", bus);
  ExclusionStore exclusions(settings, bus);
  if (c.listHost) exclusions.addHost("example.com");
  exclusions.setSkipPrivateWindows(c.skipPrivate);
  if (c.excludeApp) exclusions.addApp("firefox", "Firefox");
  HeldTabReader reader;
  reader.enabled = c.readerOn;
  const bool capture = c.capture;
  ContextResolver resolver(exclusions, &reader, nullptr, [&] { return capture; });

  FrontApp firefox;
  firefox.bundleId = "firefox";
  firefox.appName = "Firefox";
  firefox.processId = 42;
  std::vector<std::optional<Resolution>> answers;
  resolver.resolve(firefox, std::string(c.title),
                   [&](std::optional<Resolution> answer) { answers.push_back(answer); });
  if (c.tab) {
    ASSERT_EQ(reader.pending.size(), 1u) << "the tab must be read";
    EXPECT_TRUE(answers.empty()) << "answered before the tab";
    reader.pending[0](*c.tab);
  } else {
    EXPECT_TRUE(reader.pending.empty()) << "the tab must not be read";
  }
  ASSERT_EQ(answers.size(), 1u);
  ASSERT_TRUE(answers[0].has_value());
  EXPECT_EQ(*answers[0], c.expected);
}

// clang-format off
const Case kCases[] = {
    // what                                          capture listHost skipPriv exclApp readerOn title          tab             expected
    // Detail capture off: the tab is read only when an exclusion needs it.
    {"OffNothingExcluded",                           false,  false,   false,   false,  true,    kPlainTitle,   std::nullopt,   appOnly()},
    {"OffHostListedPlainTab",                        false,  true,    false,   false,  true,    kPlainTitle,   kPlainTab,      appOnly()},
    {"OffHostListedListedHost",                      false,  true,    false,   false,  true,    kPlainTitle,   kListedHostTab, Resolution::excluded()},
    {"OffHostListedPrivateTabKept",                  false,  true,    false,   false,  true,    kPlainTitle,   kPrivateTab,    appOnly()},
    {"OffSkipPrivatePrivateTab",                     false,  false,   true,    false,  true,    kPlainTitle,   kPrivateTab,    Resolution::excluded()},
    {"OffSkipPrivatePlainTab",                       false,  false,   true,    false,  true,    kPlainTitle,   kPlainTab,      appOnly()},
    {"OffSkipPrivateUnreadablePrivateTitle",         false,  false,   true,    false,  true,    kPrivateTitle, kUnreadable,    Resolution::excluded()},
    {"OffSkipPrivateUnreadablePlainTitle",           false,  false,   true,    false,  true,    kPlainTitle,   kUnreadable,    appOnly()},
    {"OffBothPrivateTab",                            false,  true,    true,    false,  true,    kPlainTitle,   kPrivateTab,    Resolution::excluded()},
    {"OffBothListedHost",                            false,  true,    true,    false,  true,    kPlainTitle,   kListedHostTab, Resolution::excluded()},
    {"OffAppExcluded",                               false,  true,    true,    true,   true,    kPlainTitle,   std::nullopt,   Resolution::excluded()},
    // Detail capture on: the tab is always read.
    {"OnNothingExcluded",                            true,   false,   false,   false,  true,    kPlainTitle,   kPlainTab,      site("Pulls", "github.com")},
    {"OnPrivateTabKept",                             true,   false,   false,   false,  true,    kPlainTitle,   kPrivateTab,    site("Pulls", "github.com")},
    {"OnSkipPrivatePrivateTab",                      true,   false,   true,    false,  true,    kPlainTitle,   kPrivateTab,    Resolution::excluded()},
    {"OnHostListedListedHost",                       true,   true,    false,   false,  true,    kPlainTitle,   kListedHostTab, Resolution::excluded()},
    {"OnSkipPrivateUnreadablePlainTitle",            true,   false,   true,    false,  true,    kPlainTitle,   kUnreadable,    windowTitle(kPlainTitle)},
    {"OnAppExcluded",                                true,   false,   false,   true,   true,    kPlainTitle,   std::nullopt,   Resolution::excluded()},
    // Tab reading off: private windows are still caught by their titles.
    {"ReaderOffCaptureOffPrivateTitle",              false,  false,   true,    false,  false,   kPrivateTitle, std::nullopt,   Resolution::excluded()},
    {"ReaderOffCaptureOffPlainTitle",                false,  true,    true,    false,  false,   kPlainTitle,   std::nullopt,   appOnly()},
    {"ReaderOffCaptureOnPrivateTitle",               true,   false,   true,    false,  false,   kPrivateTitle, std::nullopt,   Resolution::excluded()},
    {"ReaderOffCaptureOnPlainTitle",                 true,   true,    true,    false,  false,   kPlainTitle,   std::nullopt,   windowTitle(kPlainTitle)},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Combinations, ResolverSettingsTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& info) {
                           return std::string(info.param.what);
                         });

}  // namespace
}  // namespace velto
