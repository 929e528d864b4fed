#include "platform/linux/desktop_entries.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "test_support/temp_dir.h"

namespace velto::platform {
namespace {

TEST(DesktopEntry, ReadsOnlyTheMainGroupOfApplications) {
  const auto entry = parseDesktopEntry("org.gnome.Terminal",
                                       "# comment\n[Desktop Entry]\nType=Application\n"
                                       "Name = Terminal \nName[de]=Terminal DE\n"
                                       "StartupWMClass=Gnome-terminal\r\n"
                                       "[Desktop Action new]\nName=New Window\n");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->id, "org.gnome.Terminal");
  EXPECT_EQ(entry->name, "Terminal");
  EXPECT_EQ(entry->startupWmClass, "Gnome-terminal");

  EXPECT_FALSE(parseDesktopEntry("link", "[Desktop Entry]\nType=Link\nName=Site\n"));
  EXPECT_FALSE(parseDesktopEntry("nameless", "[Desktop Entry]\nType=Application\n"));
  EXPECT_FALSE(parseDesktopEntry("groupless", "Name=Loose\n"));
}

TEST(DesktopEntry, FileIdsReplaceSubfoldersWithDashes) {
  EXPECT_EQ(desktopFileId("/usr/share/applications", "/usr/share/applications/firefox.desktop"),
            "firefox");
  EXPECT_EQ(desktopFileId("/usr/share/applications", "/usr/share/applications/kde4/okular.desktop"),
            "kde4-okular");
}

TEST(DesktopEntry, WmClassHoldsInstanceThenClass) {
  EXPECT_EQ(parseWmClass(std::string("xterm\0XTerm\0", 12)),
            std::make_pair(std::string("xterm"), std::string("XTerm")));
  // Some clients set only one string; it serves as both.
  EXPECT_EQ(parseWmClass(std::string("solo\0", 5)),
            std::make_pair(std::string("solo"), std::string("solo")));
  EXPECT_EQ(parseWmClass(std::string("", 0)), std::nullopt);
}

TEST(DesktopEntryIndex, IdentifiesWindowsByTheDesignRules) {
  const DesktopEntryIndex index({
      {"org.gnome.Terminal", "Terminal", "Gnome-terminal"},
      {"firefox", "Firefox", ""},
      {"code", "Visual Editor", "Code"},
  });
  struct Case {
    const char* instance;
    const char* windowClass;
    std::optional<std::string> bundleId;
    std::string appName;
  };
  const Case cases[] = {
      {"gnome-terminal-server", "Gnome-terminal", "org.gnome.Terminal",
       "Terminal"},                                    // StartupWMClass
      {"Navigator", "firefox", "firefox", "Firefox"},  // file name
      {"Navigator", "Firefox", "firefox", "Firefox"},  // ignoring case
      {"code", "Code", "code", "Visual Editor"},
      {"xterm", "XTerm", "xterm", "XTerm"},  // no entry: the class, lower-cased
      {"", "", std::nullopt, ""},
  };
  for (const Case& c : cases) {
    const RunningApplication app = index.identify(c.instance, c.windowClass, 42);
    EXPECT_EQ(app.bundleId, c.bundleId) << c.windowClass;
    EXPECT_EQ(app.appName, c.appName) << c.windowClass;
    EXPECT_EQ(app.pid, 42);
  }
}

TEST(DesktopEntryIndex, EarlierFoldersWinForTheSameId) {
  velto::testing::TempDir dir;
  const auto user = dir.path() / "user";
  const auto system = dir.path() / "system";
  std::filesystem::create_directories(user);
  std::filesystem::create_directories(system / "sub");
  std::ofstream(user / "mail.desktop") << "[Desktop Entry]\nType=Application\nName=My Mail\n";
  std::ofstream(system / "mail.desktop") << "[Desktop Entry]\nType=Application\nName=Mail\n";
  std::ofstream(system / "sub" / "chat.desktop") << "[Desktop Entry]\nName=Chat\n";
  std::ofstream(system / "notes.txt") << "[Desktop Entry]\nName=Not an entry\n";

  const DesktopEntryIndex index = DesktopEntryIndex::load({user, system, dir.path() / "missing"});
  EXPECT_EQ(index.size(), 2u);
  EXPECT_EQ(index.identify("mail", "Mail", 1).appName, "My Mail");
  EXPECT_EQ(index.identify("sub-chat", "Sub-chat", 1).bundleId, "sub-chat");
}

}  // namespace
}  // namespace velto::platform
