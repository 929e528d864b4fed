#include "context/context_resolver.h"

#include <gtest/gtest.h>

#include <set>

#include "context/app_catalog.h"
#include "context/context_detail.h"
#include "context/exclusion_store.h"
#include "settings/settings.h"
#include "test_support/temp_dir.h"

namespace velto {
namespace {

using Kind = ActivityDetailKind;

TEST(AppCatalogTest, FamiliesAndLookupOrder) {
  const auto entries = AppCatalog::entries();
  ASSERT_GT(entries.size(), 45u);
  EXPECT_EQ(entries[0].bundleIdentifier, "com.apple.Terminal");
  EXPECT_EQ(entries[44].bundleIdentifier, "us.zoom.xos");
  std::set<std::string_view> ids;
  for (const auto& entry : entries) {
    EXPECT_TRUE(ids.insert(entry.bundleIdentifier).second) << entry.bundleIdentifier;
  }
  EXPECT_EQ(AppCatalog::family("com.google.Chrome"), AppFamily::browser);
  EXPECT_EQ(AppCatalog::family("firefox"), AppFamily::browser);
  EXPECT_EQ(AppCatalog::family("org.gnome.Terminal"), AppFamily::terminal);
  EXPECT_EQ(AppCatalog::family("code"), AppFamily::editor);
  EXPECT_EQ(AppCatalog::family("slack"), AppFamily::chat);
  EXPECT_EQ(AppCatalog::family("spotify"), AppFamily::media);
  EXPECT_EQ(AppCatalog::family("org.inkscape.Inkscape"), std::nullopt);
  EXPECT_EQ(AppCatalog::family("Code"), AppFamily::editor);  // ids are not told apart by case
  EXPECT_EQ(AppCatalog::family("codec-tool"), std::nullopt);
  EXPECT_TRUE(AppCatalog::isTerminal("kitty"));
  EXPECT_FALSE(AppCatalog::isTerminal("firefox"));
  for (const char* never :
       {"studio.kestrova.Velto", "velto", "com.apple.loginwindow", "com.apple.ScreenSaver.Engine",
        "com.apple.SecurityAgent", "swaylock", "polkit-gnome-authentication-agent-1"}) {
    EXPECT_TRUE(AppCatalog::isNeverTracked(never)) << never;
  }
  EXPECT_FALSE(AppCatalog::isNeverTracked("com.apple.Terminal"));
}

TEST(ContextDetailTest, DetailByHostAndFamily) {
  struct Case {
    const char* what;
    DetailSource source;
    std::optional<ActivityDetail> expected;
  };
  const Case cases[] = {
      {"site keeps the label's case",
       {"firefox", "Firefox", "GitHub", "GitHub.com", {}},
       ActivityDetail{"github.com", "GitHub.com", Kind::site}},
      {"site for any app with a host",
       {"org.inkscape.Inkscape", "Inkscape", {}, "a.io", {}},
       ActivityDetail{"a.io", "a.io", Kind::site}},
      {"project and probed tool",
       {"com.apple.Terminal", "Terminal", "~/code/Shop", {}, "npm"},
       ActivityDetail{"shop · npm", "Shop · npm", Kind::project}},
      {"the title's tool wins",
       {"org.gnome.Terminal", "Terminal", "jane@x: ~/code/velto \u2014 vim", {}, "node"},
       ActivityDetail{"velto · vim", "velto · vim", Kind::project}},
      {"probed tool only",
       {"kitty", "kitty", "zsh", {}, "npm"},
       ActivityDetail{"npm", "npm", Kind::tool}},
      {"tool from the title only",
       {"kitty", "kitty", "htop", {}, {}},
       ActivityDetail{"htop", "htop", Kind::tool}},
      {"terminal with nothing", {"kitty", "kitty", "bash", {}, ""}, std::nullopt},
      {"terminal without a title",
       {"foot", "foot", {}, {}, "Cargo"},
       ActivityDetail{"cargo", "Cargo", Kind::tool}},
      {"media never", {"com.spotify.client", "Spotify", "Song - Artist", {}, {}}, std::nullopt},
      {"zoom never", {"us.zoom.xos", "zoom.us", "Weekly sync", {}, {}}, std::nullopt},
      {"unknown app's window",
       {"org.inkscape.Inkscape", "Inkscape", "drawing.svg - Inkscape", {}, {}},
       ActivityDetail{"drawing.svg", "drawing.svg", Kind::window}},
      {"unknown app, generic title", {"x.y", "Y", "Untitled", {}, {}}, std::nullopt},
      {"unknown app, no title", {"x.y", "Y", {}, {}, {}}, std::nullopt},
      {"trailing editor",
       {"com.microsoft.VSCode", "Code", "\u25CF index.ts \u2014 velto", {}, {}},
       ActivityDetail{"velto", "velto", Kind::project}},
      {"leading editor",
       {"com.apple.dt.Xcode", "Xcode", "Planner \u2014 index.ts", {}, {}},
       ActivityDetail{"planner", "Planner", Kind::project}},
      {"chat workspace",
       {"slack", "Slack", "(2) Slack | #random | Acme", {}, {}},
       ActivityDetail{"acme", "Acme", Kind::workspace}},
      {"chat of its own name",
       {"com.tinyspeck.slackmacgap", "Slack", "Slack", {}, {}},
       std::nullopt},
      {"document",
       {"com.apple.Preview", "Preview", "Report.pdf - Preview", {}, {}},
       ActivityDetail{"report.pdf", "Report.pdf", Kind::document}},
      {"non-ASCII key",
       {"org.gnome.Evince", "Belge", "ÜNİTE PLANI.pdf", {}, {}},
       // Root-locale lower-casing: "İ" keeps its dot as a combining mark, "I" becomes "i".
       ActivityDetail{"üni\u0307te plani.pdf", "ÜNİTE PLANI.pdf", Kind::document}},
      {"browser without a host",
       {"firefox", "Firefox", "GitHub - Mozilla Firefox", {}, {}},
       std::nullopt},
      {"empty host is no site", {"firefox", "Firefox", "GitHub", "", {}}, std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(deriveDetail(c.source), c.expected);
  }
}

class FakeBrowserReader : public BrowserTabReader {
 public:
  struct Request {
    std::string bundleId;
    int processId;
    std::function<void(BrowserTabAnswer)> done;
  };
  void readActiveTab(const BrowserCatalog::Entry& browser, int processId,
                     std::function<void(BrowserTabAnswer)> done) override {
    requests.push_back({std::string(browser.bundleIdentifier), processId, std::move(done)});
  }
  bool isEnabled() const override { return enabled; }
  void answer(BrowserTabAnswer answer) {
    ASSERT_FALSE(requests.empty());
    Request request = std::move(requests.front());
    requests.erase(requests.begin());
    request.done(std::move(answer));
  }
  std::vector<Request> requests;
  bool enabled = true;
};

class OneTerminalTable : public ProcessTable {
 public:
  std::vector<ProcessInfo> processes() const override {
    return {{10, 1, "gnome-terminal-"}, {11, 10, "bash"}, {12, 11, "npm"}};
  }
  std::optional<std::string> executablePath(int) const override { return std::nullopt; }
};

class ContextResolverTest : public ::testing::Test {
 protected:
  ContextResolverTest()
      : settings_(dir_ / "settings.json", bus_),
        exclusions_(settings_, bus_),
        resolver_(std::make_unique<ContextResolver>(exclusions_, &browsers_, &processes_,
                                                    [this] { return capture_; })) {}

  // Resolves and returns the answer when it came before resolve returned.
  std::optional<std::optional<ContextResolver::Resolution>> resolveNow(
      const FrontApp& app, std::optional<std::string> title) {
    answers_.clear();
    resolver_->resolve(app, std::move(title), [this](auto answer) { answers_.push_back(answer); });
    if (answers_.empty()) return std::nullopt;
    return answers_.back();
  }

  static ActivityContext context(std::string bundleId, std::string appName,
                                 std::optional<std::string> title = {},
                                 std::optional<std::string> host = {},
                                 std::optional<std::string> tool = {}) {
    return ActivityContext{std::move(bundleId), std::move(appName), std::move(title),
                           std::move(host),     std::move(tool),    std::nullopt};
  }

  const FrontApp firefox_{"firefox", "Firefox", 42};
  testing::TempDir dir_;
  NoticeBus bus_;
  Settings settings_;
  ExclusionStore exclusions_;
  FakeBrowserReader browsers_;
  OneTerminalTable processes_;
  bool capture_ = true;
  std::unique_ptr<ContextResolver> resolver_;
  std::vector<std::optional<ContextResolver::Resolution>> answers_;
};

TEST_F(ContextResolverTest, QuickContextAndExclusionTest) {
  exclusions_.addApp("org.Signal.Signal", "Signal");
  EXPECT_EQ(resolver_->quickContext({"code", "Visual Studio Code", 7}),
            context("code", "Visual Studio Code"));
  EXPECT_EQ(resolver_->quickContext({"org.signal.Signal", "Signal", 8}), std::nullopt);
  EXPECT_TRUE(resolver_->isExcluded({"org.signal.Signal", "Signal", 8}));
  EXPECT_FALSE(resolver_->isExcluded({"code", "Code", 7}));
  EXPECT_EQ(resolver_->quickContext({"com.apple.loginwindow", "loginwindow", 1}), std::nullopt);
  EXPECT_FALSE(resolver_->isExcluded({"com.apple.loginwindow", "loginwindow", 1}));

  auto lockScreen = resolveNow({"swaylock", "swaylock", 3}, "locked");
  ASSERT_TRUE(lockScreen.has_value());
  EXPECT_FALSE(lockScreen->has_value());
  EXPECT_EQ(resolveNow({"org.signal.Signal", "Signal", 8}, "Chats"),
            ContextResolver::Resolution::excluded());
}

TEST_F(ContextResolverTest, EditorsAndTerminalsResolveAtOnce) {
  auto editor = resolveNow({"code", "Visual Studio Code", 7},
                           "main.cc \u2014 velto \u2014 Visual Studio Code");
  ASSERT_TRUE(editor && *editor);
  EXPECT_EQ((*editor)->context, context("code", "Visual Studio Code",
                                        "main.cc \u2014 velto \u2014 Visual Studio Code"));
  EXPECT_EQ((*editor)->detail, (ActivityDetail{"velto", "velto", Kind::project}));

  auto terminal = resolveNow({"org.gnome.Terminal", "Terminal", 10}, "jane@x:~/code/Shop");
  ASSERT_TRUE(terminal && *terminal);
  EXPECT_EQ((*terminal)->context.toolName, "npm");
  EXPECT_EQ((*terminal)->detail, (ActivityDetail{"shop · npm", "Shop · npm", Kind::project}));

  auto noProcess = resolveNow({"org.gnome.Terminal", "Terminal", std::nullopt}, "vim");
  ASSERT_TRUE(noProcess && *noProcess);
  EXPECT_EQ((*noProcess)->context.toolName, std::nullopt);
  EXPECT_TRUE(browsers_.requests.empty());
}

TEST_F(ContextResolverTest, BrowserTabsAreReadThenChecked) {
  exclusions_.addHost("example.com");
  struct Case {
    const char* what;
    bool skipPrivate;
    std::optional<std::string> windowTitle;
    BrowserTabAnswer answer;
    std::optional<ContextResolver::Resolution> expected;
  };
  const auto site = [](std::string title, std::string host) {
    return ContextResolver::Resolution{ContextResolver::Resolution::Kind::context,
                                       context("firefox", "Firefox", title, host),
                                       ActivityDetail{host, host, Kind::site}};
  };
  const auto excluded = ContextResolver::Resolution::excluded();
  const Case cases[] = {
      {"host from the tab", false, "old",
       BrowserTab{"Pulls", "https://www.GitHub.com/pulls", false}, site("Pulls", "github.com")},
      {"excluded host",
       false,
       {},
       BrowserTab{"Docs", "https://docs.example.com/", false},
       excluded},
      {"neighbouring host",
       false,
       {},
       BrowserTab{"Org", "https://example.org/", false},
       site("Org", "example.org")},
      {"private tab skipped", true, {}, BrowserTab{"Secret", "https://a.io/", true}, excluded},
      {"private tab kept",
       false,
       {},
       BrowserTab{"Secret", "https://a.io/", true},
       site("Secret", "a.io")},
      {"internal page",
       false,
       {},
       BrowserTab{"New Tab", "about:newtab", false},
       ContextResolver::Resolution{ContextResolver::Resolution::Kind::context,
                                   context("firefox", "Firefox", "New Tab"), std::nullopt}},
      {"unreadable tab keeps the window title", false, "Inbox — Mozilla Firefox",
       BrowserProbeError::timeout(),
       ContextResolver::Resolution{ContextResolver::Resolution::Kind::context,
                                   context("firefox", "Firefox", "Inbox — Mozilla Firefox"),
                                   std::nullopt}},
      {"unreadable private window skipped", true, "Inbox — Mozilla Firefox Private Browsing",
       BrowserProbeError::notRunning(), excluded},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    exclusions_.setSkipPrivateWindows(c.skipPrivate);
    ASSERT_EQ(resolveNow(firefox_, c.windowTitle), std::nullopt) << "answered before the tab";
    ASSERT_EQ(browsers_.requests.size(), 1u);
    EXPECT_EQ(browsers_.requests[0].bundleId, "firefox");
    EXPECT_EQ(browsers_.requests[0].processId, 42);
    browsers_.answer(c.answer);
    ASSERT_EQ(answers_.size(), 1u);
    EXPECT_EQ(answers_[0], c.expected);
  }
}

TEST_F(ContextResolverTest, DetailCaptureOffRecordsTheAppOnly) {
  capture_ = false;
  auto editor = resolveNow({"code", "Code", 7}, "main.cc \u2014 velto");
  ASSERT_TRUE(editor && *editor);
  EXPECT_EQ(**editor, (ContextResolver::Resolution{ContextResolver::Resolution::Kind::context,
                                                   context("code", "Code"), std::nullopt}));

  // No exclusion needs the tab: it is not read.
  auto browser = resolveNow(firefox_, "Secret — Mozilla Firefox");
  ASSERT_TRUE(browser && *browser);
  EXPECT_EQ((*browser)->context, context("firefox", "Firefox"));
  EXPECT_TRUE(browsers_.requests.empty());

  // Listed hosts still keep their sites out.
  exclusions_.addHost("example.com");
  EXPECT_EQ(resolveNow(firefox_, std::nullopt), std::nullopt);
  browsers_.answer(BrowserTab{"Mail", "https://mail.example.com/", false});
  EXPECT_EQ(answers_.at(0), ContextResolver::Resolution::excluded());
  EXPECT_EQ(resolveNow(firefox_, std::nullopt), std::nullopt);
  browsers_.answer(BrowserTab{"Other", "https://other.io/", false});
  EXPECT_EQ(answers_.at(0).value().context, context("firefox", "Firefox"));
}

TEST_F(ContextResolverTest, TabReadingOffRecordsBrowsersByTitle) {
  browsers_.enabled = false;
  exclusions_.addHost("example.com");
  auto browser = resolveNow(firefox_, "Pulls · GitHub — Mozilla Firefox");
  ASSERT_TRUE(browser && *browser) << "answered at once";
  EXPECT_EQ((*browser)->context, context("firefox", "Firefox", "Pulls · GitHub — Mozilla Firefox"));
  EXPECT_TRUE(browsers_.requests.empty());

  // Private windows are still caught by their titles.
  exclusions_.setSkipPrivateWindows(true);
  EXPECT_EQ(resolveNow(firefox_, "Inbox — Mozilla Firefox Private Browsing"),
            ContextResolver::Resolution::excluded());
  EXPECT_TRUE(browsers_.requests.empty());
}

TEST_F(ContextResolverTest, NoAnswerAfterTheResolverIsGone) {
  EXPECT_EQ(resolveNow(firefox_, std::nullopt), std::nullopt);
  resolver_.reset();
  browsers_.answer(BrowserTab{"Pulls", "https://github.com/", false});
  EXPECT_TRUE(answers_.empty());
}

}  // namespace
}  // namespace velto
