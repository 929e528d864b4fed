#include "context/app_identity.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "context/app_catalog.h"
#include "context/browser_catalog.h"
#include "recording/media_presence_probe.h"

namespace velto {
namespace {

const std::vector<DesktopEntry> kEntries = {
    {"org.gnome.Terminal", "Terminal", "Gnome-terminal"},
    {"firefox", "Firefox", ""},
    {"code", "Visual Editor", "Code"},
    {"debian-xterm", "XTerm", "XTerm"},
    {"debian-uxterm", "UXTerm", "UXTerm"},
    {"chrome-abcdef-Default", "Notes App", "crx_abcdef"},
    {"org.gnome.Nautilus", "Files", ""},
    {"google-chrome", "Google Chrome", ""},
};

TEST(AppIdentity, AWindowGetsTheDesktopIdOnlyWhenItsClassNamesTheEntry) {
  struct Case {
    const char* what;
    WindowNames window;
    std::optional<std::string> bundleId;
    std::string appName;
  };
  const Case cases[] = {
      {"StartupWMClass equals the class",
       {"gnome-terminal-server", "Gnome-terminal", "", ""},
       "org.gnome.Terminal",
       "Terminal"},
      {"file name equals the class", {"Navigator", "firefox", "", ""}, "firefox", "Firefox"},
      {"file name, ignoring case", {"Navigator", "Firefox", "", ""}, "firefox", "Firefox"},
      {"stock xterm", {"xterm", "XTerm", "", ""}, "debian-xterm", "XTerm"},
      {"uxterm", {"uxterm", "UXTerm", "", ""}, "debian-uxterm", "UXTerm"},
      // A class of the user's own is an application of its own, whatever the instance says.
      {"xterm -class AlphaTerm", {"xterm", "AlphaTerm", "", ""}, "alphaterm", "AlphaTerm"},
      {"xterm -class BetaTerm", {"xterm", "BetaTerm", "", ""}, "betaterm", "BetaTerm"},
      {"instance equals a file name only", {"code", "Other", "", ""}, "other", "Other"},
      // Web applications name themselves in the instance; StartupWMClass says so exactly.
      {"web application",
       {"crx_abcdef", "Google-chrome", "", ""},
       "chrome-abcdef-Default",
       "Notes App"},
      {"no entry: the class, lower-cased",
       {"mousepad", "Mousepad", "", ""},
       "mousepad",
       "Mousepad"},
      {"Wayland app_id equals a file id",
       {"", "", "org.gnome.Nautilus", ""},
       "org.gnome.Nautilus",
       "Files"},
      {"Wayland app_id, ignoring case",
       {"", "", "org.gnome.nautilus", ""},
       "org.gnome.Nautilus",
       "Files"},
      {"Wayland app_id without an entry", {"", "", "Foot", ""}, "foot", "Foot"},
      {"nothing named", {"", "", "", "xterm"}, std::nullopt, ""},
  };
  for (const Case& c : cases) {
    const RunningApplication app = identifyApplication(kEntries, c.window, 42);
    EXPECT_EQ(app.bundleId, c.bundleId) << c.what;
    EXPECT_EQ(app.appName, c.appName) << c.what;
    EXPECT_EQ(app.pid, 42) << c.what;
  }
}

TEST(AppIdentity, TheWindowsOtherNamesBecomeAliases) {
  const RunningApplication app =
      identifyApplication(kEntries, WindowNames{"xterm", "AlphaTerm", "", "xterm"}, 7);
  ASSERT_EQ(app.bundleId, "alphaterm");
  EXPECT_EQ(app.aliases, (std::vector<std::string>{"xterm", "AlphaTerm"}));
  // An application of its own, and still a terminal through the names it carries.
  EXPECT_FALSE(AppCatalog::isTerminal(*app.bundleId));
  EXPECT_TRUE(AppCatalog::isTerminal(*app.bundleId, app.aliases));
}

TEST(AppIdentity, CatalogKeysRemovePackagingFromTheId) {
  struct Case {
    const char* id;
    const char* mustContain;
  };
  const Case cases[] = {
      {"debian-xterm", "xterm"},
      {"debian-uxterm", "xterm"},
      {"kde4-okular", "okular"},
      {"org.mozilla.firefox", "firefox"},
      {"com.visualstudio.code", "code"},
      {"firefox_firefox", "firefox"},
      {"libreoffice_writer", "libreoffice-writer"},
      {"footclient", "foot"},
      {"Google-chrome-stable", "google-chrome"},
      {"TelegramDesktop", "telegram-desktop"},
  };
  for (const Case& c : cases) {
    const std::vector<std::string> keys = catalogKeys(c.id);
    ASSERT_FALSE(keys.empty()) << c.id;
    EXPECT_EQ(keys.front(), asciiLowerCased(c.id)) << "the id itself comes first";
    EXPECT_NE(std::find(keys.begin(), keys.end(), c.mustContain), keys.end())
        << c.id << " should also be known as " << c.mustContain;
    EXPECT_EQ(&cachedCatalogKeys(c.id), &cachedCatalogKeys(c.id));
    EXPECT_EQ(cachedCatalogKeys(c.id), keys);
  }
  // Names that only look like packaging stay themselves.
  EXPECT_EQ(catalogKeys("sublime_text").front(), "sublime_text");
  EXPECT_TRUE(catalogKeys("").empty());
}

// One application, one family however it was named; the exact identifier still wins.
TEST(AppIdentity, EveryCatalogTriesTheAliases) {
  EXPECT_EQ(AppCatalog::family("debian-xterm"), AppFamily::terminal);
  EXPECT_EQ(AppCatalog::family("firefox_firefox"), AppFamily::browser);
  EXPECT_EQ(BrowserCatalog::entry("org.mozilla.firefox")->scriptName, "Firefox");  // exact
  ASSERT_NE(BrowserCatalog::entry("Firefox-esr"), nullptr);
  EXPECT_TRUE(BrowserCatalog::isBrowser("mywork", std::vector<std::string>{"chromium"}));
  EXPECT_TRUE(AppCatalog::isNeverTracked("debian-velto"));
  EXPECT_TRUE(MediaPresenceProbe::isMeetingApplication("us.zoom.zoom"));
  EXPECT_TRUE(MediaPresenceProbe::isMeetingApplication("meet", std::vector<std::string>{"Zoom"}));
  EXPECT_FALSE(AppCatalog::family("mousepad-ish").has_value());
}

}  // namespace
}  // namespace velto
