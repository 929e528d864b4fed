// The browser extension's path into the recorder: native messaging frames, the checks on each
// report, the reader that ranks reports above the accessibility reader, and what the resolver
// makes of them.
#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>

#include "base/files.h"
#include "base/manual_scheduler.h"
#include "context/context_resolver.h"
#include "context/exclusion_store.h"
#include "context/native_host_manifests.h"
#include "context/native_messaging.h"
#include "context/reported_tab_reader.h"
#include "context/reported_tab_titles.h"
#include "context/tab_report.h"
#include "settings/settings.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

using Frame = NativeMessageDecoder::Frame;

std::string lengthOnly(std::uint32_t length) {
  std::string bytes(4, '\0');
  std::memcpy(bytes.data(), &length, 4);
  return bytes;
}

// Every frame the decoder gives for `stream` fed in pieces of `piece` bytes, as "kind:payload"
// or "oversized:length".
std::vector<std::string> decode(const std::string& stream, std::size_t piece, bool* partial) {
  NativeMessageDecoder decoder;
  std::vector<std::string> frames;
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    decoder.feed(std::string_view(stream).substr(at, piece));
    while (std::optional<Frame> frame = decoder.next()) {
      frames.push_back(frame->kind == Frame::Kind::message
                           ? "message:" + frame->payload
                           : "oversized:" + std::to_string(frame->length));
    }
  }
  *partial = decoder.hasPartialFrame();
  return frames;
}

TEST(NativeMessagingTest, FramesSurviveAnySplitAndOversizedOnesAreSkipped) {
  const std::string big(kMaxNativeMessageBytes + 1, 'x');
  const std::string limit(kMaxNativeMessageBytes, 'y');
  struct Case {
    const char* what;
    std::string stream;
    std::vector<std::string> frames;
    bool partial;
  };
  const Case cases[] = {
      {"two messages",
       encodeNativeMessage("{\"a\":1}") + encodeNativeMessage("[]"),
       {"message:{\"a\":1}", "message:[]"},
       false},
      {"empty message", encodeNativeMessage(""), {"message:"}, false},
      {"message at the limit", encodeNativeMessage(limit), {"message:" + limit}, false},
      {"oversized, then a message",
       lengthOnly(kMaxNativeMessageBytes + 1) + big + encodeNativeMessage("{}"),
       {"oversized:4097", "message:{}"},
       false},
      {"huge length announced, body never comes",
       lengthOnly(0xFFFFFFFFu) + "abc",
       {"oversized:4294967295"},
       true},
      {"cut inside the length",
       encodeNativeMessage("{}") + std::string("\x02\x00", 2),
       {"message:{}"},
       true},
      {"cut inside the body", encodeNativeMessage("{\"url\":\"\"}").substr(0, 8), {}, true},
  };
  for (const Case& c : cases) {
    for (std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{4096}, c.stream.size()}) {
      SCOPED_TRACE(std::string(c.what) + ", pieces of " + std::to_string(piece));
      bool partial = false;
      EXPECT_EQ(decode(c.stream, std::max<std::size_t>(piece, 1), &partial), c.frames);
      EXPECT_EQ(partial, c.partial);
    }
  }
}

TEST(TabReportTest, ReportsAreCheckedStrictly) {
  const std::string longUrl = "https://example.com/" + std::string(kMaxReportedUrlBytes, 'a');
  const std::string longTitle(kMaxReportedTitleBytes + 1, 't');
  struct Case {
    std::string json;
    std::optional<TabReport> expected;  // none: refused
  };
  const Case cases[] = {
      {R"j({"url":"https://example.com/","title":"Example","private":false})j",
       TabReport("https://example.com/", "Example", false, 0)},
      {R"j({"url":"http://a.test:8080/","title":"A","private":false,"pid":4242})j",
       TabReport("http://a.test:8080/", "A", false, 4242)},
      {R"j({"url":"HTTPS://X.TEST/","title":"","private":false})j",
       TabReport("HTTPS://X.TEST/", "", false, 0)},
      {R"j({"url":"file:///","title":"notes.txt","private":false})j",
       TabReport("file:///", "notes.txt", false, 0)},
      {R"j({"url":"","title":"","private":false})j", TabReport("", "", false, 0)},
      // Private windows keep nothing but the flag, whatever the extension sent.
      {R"j({"url":"https://secret.test/","title":"Secret","private":true})j",
       TabReport("", "", true, 0)},
      {R"j({"url":"https://b.test/","title":"New Tab - Chromium (Incognito)","private":false})j",
       TabReport("", "", true, 0)},
      // Refused: shape.
      {"", std::nullopt},
      {"[1,2]", std::nullopt},
      {R"("https://example.com/")", std::nullopt},
      {R"j({"url":"https://a.test/","title":"A"})j", std::nullopt},
      {R"j({"url":"https://a.test/","private":false})j", std::nullopt},
      {R"j({"title":"A","private":false})j", std::nullopt},
      {R"j({"url":"https://a.test/","title":"A","private":false,"history":[]})j", std::nullopt},
      {R"j({"url":1,"title":"A","private":false})j", std::nullopt},
      {R"j({"url":"https://a.test/","title":null,"private":false})j", std::nullopt},
      {R"j({"url":"https://a.test/","title":"A","private":"no"})j", std::nullopt},
      {R"j({"url":"https://a.test/","title":"A","private":false} x)j", std::nullopt},
      {"{\"url\":\"https://a.test/\",\"title\":\"\xff\xfe\",\"private\":false}", std::nullopt},
      // Refused: values.
      {R"j({"url":"javascript:alert(1)","title":"A","private":false})j", std::nullopt},
      {R"j({"url":"chrome://settings","title":"Settings","private":false})j", std::nullopt},
      {R"j({"url":"https://a.test/","title":"A","private":false,"pid":0})j", std::nullopt},
      {R"j({"url":"https://a.test/","title":"A","private":false,"pid":-5})j", std::nullopt},
      {R"j({"url":"https://a.test/","title":"A","private":false,"pid":4194305})j", std::nullopt},
      {R"j({"url":"https://a.test/","title":"A","private":false,"pid":18446744073709551615})j",
       std::nullopt},
      {R"j({"url":"https://a.test/","title":"A","private":false,"pid":12.5})j", std::nullopt},
      {nlohmann::json{{"url", longUrl}, {"title", "A"}, {"private", false}}.dump(), std::nullopt},
      {nlohmann::json{{"url", "https://a.test/"}, {"title", longTitle}, {"private", false}}.dump(),
       std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.json.substr(0, 120));
    const Result<TabReport> report = parseTabReport(c.json);
    ASSERT_EQ(report.ok(), c.expected.has_value()) << (report ? "" : report.error());
    if (report) {
      EXPECT_EQ(*report, *c.expected);
    }
  }
}

// A stand-in for the accessibility reader: records the reads it is asked for.
class FallbackReader : public BrowserTabReader {
 public:
  void readActiveTab(const BrowserCatalog::Entry&, int processId,
                     std::function<void(BrowserTabAnswer)> done) override {
    reads.push_back(processId);
    done(BrowserTab{"Read over AT-SPI", "https://atspi.test/", false});
  }
  bool isEnabled() const override { return enabled; }
  void setEnabled(bool on) override { enabled = on; }

  std::vector<int> reads;
  bool enabled = true;
};

class ReportedTabReaderTest : public ::testing::Test {
 protected:
  // The answer for a read of the browser at `pid`, once the scheduler ran what was posted.
  std::optional<BrowserTabAnswer> read(int pid) {
    std::optional<BrowserTabAnswer> answer;
    const BrowserCatalog::Entry* chromium = BrowserCatalog::entry("chromium");
    EXPECT_NE(chromium, nullptr);
    if (chromium == nullptr) return answer;
    const std::size_t readsBefore = fallback_.reads.size();
    reader_.readActiveTab(*chromium, pid, [&](BrowserTabAnswer a) { answer = std::move(a); });
    // Answers of the reader itself come later, on the scheduler, never from inside the call.
    if (fallback_.reads.size() == readsBefore) {
      EXPECT_FALSE(answer.has_value());
    }
    scheduler_.runUntilIdle();
    return answer;
  }

  ManualScheduler scheduler_{testing::at("2026-03-02T09:00:00Z")};
  FallbackReader fallback_;
  ReportedTabReader reader_{scheduler_, &fallback_};
};

TEST_F(ReportedTabReaderTest, ReportsRankAboveTheFallbackForTheirBrowserOnly) {
  std::vector<int> heard;
  reader_.setReportHandler([&](int pid) { heard.push_back(pid); });
  reader_.report(TabReport("https://a.test/", "A", false, 100));
  reader_.report(TabReport("https://b.test/", "B", false, 200));
  reader_.report(TabReport("https://a2.test/", "A2", false, 100));
  EXPECT_EQ(heard, (std::vector<int>{100, 200, 100}));
  EXPECT_EQ(reader_.reportingBrowsers(), (std::vector<int>{200, 100}));

  EXPECT_EQ(read(100), BrowserTabAnswer(BrowserTab{"A2", "https://a2.test/", false}));
  EXPECT_EQ(read(200), BrowserTabAnswer(BrowserTab{"B", "https://b.test/", false}));
  EXPECT_TRUE(fallback_.reads.empty());
  // A browser that never reported is read the old way.
  EXPECT_EQ(read(300),
            BrowserTabAnswer(BrowserTab{"Read over AT-SPI", "https://atspi.test/", false}));
  EXPECT_EQ(fallback_.reads, (std::vector<int>{300}));
  // Without the accessibility opt-in it has no tab.
  reader_.setEnabled(false);
  EXPECT_FALSE(fallback_.enabled);
  EXPECT_TRUE(reader_.isEnabled());
  EXPECT_EQ(read(300), BrowserTabAnswer(BrowserProbeError::notRunning()));
  EXPECT_EQ(read(100), BrowserTabAnswer(BrowserTab{"A2", "https://a2.test/", false}));

  // "No tab" (focus left the browser, a browser page) and a host that exited hand the browser
  // back to the fallback; reports without a process are dropped.
  reader_.setEnabled(true);
  reader_.report(TabReport("", "", false, 100));
  reader_.forget(200);
  reader_.report(TabReport("https://c.test/", "C", false, 0));
  EXPECT_TRUE(reader_.reportingBrowsers().empty());
  fallback_.reads.clear();
  read(100);
  read(200);
  EXPECT_EQ(fallback_.reads, (std::vector<int>{100, 200}));
}

TEST_F(ReportedTabReaderTest, PrivateReportsKeepNothingButTheFlagAndOldBrowsersAreForgotten) {
  reader_.report(TabReport("https://secret.test/", "Secret", true, 100));
  reader_.report(
      TabReport("https://s.test/", "Inbox — Mozilla Firefox Private Browsing", false, 101));
  EXPECT_EQ(read(100), BrowserTabAnswer(BrowserTab{"", "", true}));
  EXPECT_EQ(read(101), BrowserTabAnswer(BrowserTab{"", "", true}));

  for (int pid = 1000; pid < 1000 + static_cast<int>(kMaxReportingBrowsers); ++pid) {
    reader_.report(TabReport("https://x.test/", "X", false, pid));
  }
  const std::vector<int> kept = reader_.reportingBrowsers();
  ASSERT_EQ(kept.size(), kMaxReportingBrowsers);
  EXPECT_EQ(kept.front(), 1000);
  EXPECT_EQ(std::count(kept.begin(), kept.end(), 100), 0);
  EXPECT_EQ(std::count(kept.begin(), kept.end(), 101), 0);
}

TEST(ReportedTabTitlesTest, ReportsOfTheObservedBrowserCountAsChanges) {
  class Titles : public WindowTitleSource {
   public:
    bool observe(const RunningApplication&, std::function<void()>) override { return true; }
    void stop() override {}
    std::optional<std::string> focusedWindowTitle(const RunningApplication&) override {
      return std::nullopt;
    }
  } inner;
  ReportedTabTitles titles(inner);
  int changes = 0;
  titles.tabReported(100);
  EXPECT_TRUE(titles.observe(RunningApplication("chromium", "Chromium", 100), [&] { ++changes; }));
  titles.tabReported(100);
  titles.tabReported(200);
  EXPECT_EQ(changes, 1);
  titles.stop();
  titles.tabReported(100);
  EXPECT_EQ(changes, 1);
}

// From a report to what the resolver records: the same private-window rule and exclusions as
// for tabs read any other way.
class ReportedTabResolutionTest : public ReportedTabReaderTest {
 protected:
  ReportedTabResolutionTest()
      : settings_(dir_ / "settings.json", bus_),
        exclusions_(settings_, bus_),
        resolver_(exclusions_, &reader_, nullptr, [] { return true; }) {}

  std::optional<ContextResolver::Resolution> resolve(int pid, std::string title) {
    std::optional<ContextResolver::Resolution> result;
    resolver_.resolve(FrontApp("chromium", "Chromium", pid), std::move(title),
                      [&](std::optional<ContextResolver::Resolution> r) { result = r; });
    scheduler_.runUntilIdle();
    return result;
  }

  testing::TempDir dir_;
  NoticeBus bus_;
  Settings settings_;
  ExclusionStore exclusions_;
  ContextResolver resolver_;
};

TEST_F(ReportedTabResolutionTest, HostsPrivateWindowsAndExclusions) {
  fallback_.enabled = false;
  reader_.report(TabReport("https://www.Example.com:8443/", "Example Domain", false, 100));
  std::optional<ContextResolver::Resolution> site = resolve(100, "Example Domain - Chromium");
  ASSERT_TRUE(site.has_value());
  ASSERT_FALSE(site->isExcluded());
  EXPECT_EQ(site->context.host, "example.com");
  EXPECT_EQ(site->context.windowTitle, "Example Domain");

  exclusions_.addHost("example.com");
  EXPECT_EQ(resolve(100, "Example Domain - Chromium"), ContextResolver::Resolution::excluded());

  reader_.report(TabReport("https://secret.test/", "Secret", true, 100));
  exclusions_.setSkipPrivateWindows(true);
  EXPECT_EQ(resolve(100, "Chromium"), ContextResolver::Resolution::excluded());
  // Kept private windows are recorded as the browser alone: no site, no title.
  exclusions_.setSkipPrivateWindows(false);
  std::optional<ContextResolver::Resolution> kept = resolve(100, "Chromium");
  ASSERT_TRUE(kept.has_value());
  ASSERT_FALSE(kept->isExcluded());
  EXPECT_EQ(kept->context.host, std::nullopt);
  EXPECT_EQ(kept->context.windowTitle, "");
}

TEST(NativeHostManifestsTest, EachBrowserItsFolderAndItsExtension) {
  const UserFolders folders("/home/jo", "/home/jo/.config");
  const std::pair<const char*, const char*> expected[] = {
      {"chromium", "/home/jo/.config/chromium/NativeMessagingHosts/org.velto.browser_host.json"},
      {"chrome", "/home/jo/.config/google-chrome/NativeMessagingHosts/org.velto.browser_host.json"},
      {"brave",
       "/home/jo/.config/BraveSoftware/Brave-Browser/NativeMessagingHosts/"
       "org.velto.browser_host.json"},
      {"edge", "/home/jo/.config/microsoft-edge/NativeMessagingHosts/org.velto.browser_host.json"},
      {"vivaldi", "/home/jo/.config/vivaldi/NativeMessagingHosts/org.velto.browser_host.json"},
      {"firefox", "/home/jo/.mozilla/native-messaging-hosts/org.velto.browser_host.json"},
  };
  ASSERT_EQ(nativeHostBrowsers().size(), std::size(expected));
  for (const auto& [key, path] : expected) {
    SCOPED_TRACE(key);
    const NativeHostBrowser* browser = nativeHostBrowser(key);
    ASSERT_NE(browser, nullptr);
    EXPECT_EQ(nativeHostManifestPath(*browser, folders), path);
    const std::string text = nativeHostManifest(*browser, "/usr/bin/velto-browser-host");
    const nlohmann::json manifest = nlohmann::json::parse(text);
    EXPECT_EQ(manifest["name"], "org.velto.browser_host");
    EXPECT_EQ(manifest["type"], "stdio");
    if (browser->family == BrowserFamily::gecko) {
      EXPECT_EQ(manifest["allowed_extensions"], nlohmann::json::array({"tabs@velto.local"}));
      EXPECT_FALSE(manifest.contains("allowed_origins"));
    } else {
      EXPECT_EQ(manifest["allowed_origins"],
                nlohmann::json::array({"chrome-extension://ljmnlbmclbljmombdbmepengamlpjdfm/"}));
    }
    EXPECT_EQ(veltoHostProgram(text), std::filesystem::path("/usr/bin/velto-browser-host"));
  }
  EXPECT_EQ(nativeHostBrowser("opera"), nullptr);
  // Someone else's host in the same folder is never taken for Velto's.
  EXPECT_EQ(veltoHostProgram(R"j({"name":"com.example.host","path":"/x"})j"), std::nullopt);
  EXPECT_EQ(veltoHostProgram("not json"), std::nullopt);
}

TEST(NativeHostManifestsTest, InstalledHostsAreFoundByContent) {
  testing::TempDir dir;
  const UserFolders folders(dir.path() / "home", dir.path() / "config");
  const NativeHostBrowser* firefox = nativeHostBrowser("firefox");
  const NativeHostBrowser* brave = nativeHostBrowser("brave");
  const NativeHostBrowser* chrome = nativeHostBrowser("chrome");
  ASSERT_TRUE(firefox && brave && chrome);
  ASSERT_TRUE(files::writeAtomically(nativeHostManifestPath(*firefox, folders),
                                     nativeHostManifest(*firefox, "/opt/host")));
  ASSERT_TRUE(files::writeAtomically(nativeHostManifestPath(*brave, folders),
                                     nativeHostManifest(*brave, "/opt/host")));
  ASSERT_TRUE(files::writeAtomically(nativeHostManifestPath(*chrome, folders), "{}"));
  EXPECT_EQ(browsersWithVeltoHost(folders),
            (std::vector<const NativeHostBrowser*>{brave, firefox}));
}

TEST(NativeHostManifestsTest, TheShippedExtensionIsTheOneTheManifestsAllow) {
  const Result<std::string> text = files::readAll(std::filesystem::path(VELTO_SOURCE_DIR) /
                                                  "resources/browser-extension" / "manifest.json");
  ASSERT_TRUE(text) << text.error();
  const nlohmann::json manifest = nlohmann::json::parse(*text);
  EXPECT_EQ(manifest["manifest_version"], 3);
  EXPECT_EQ(manifest["browser_specific_settings"]["gecko"]["id"], kGeckoExtensionId);
  // No access to pages, history or other sites: only tabs and the host.
  EXPECT_EQ(manifest["permissions"], nlohmann::json::array({"tabs", "nativeMessaging"}));
  EXPECT_FALSE(manifest.contains("host_permissions"));
  EXPECT_FALSE(manifest.contains("content_scripts"));
}

}  // namespace
}  // namespace velto
