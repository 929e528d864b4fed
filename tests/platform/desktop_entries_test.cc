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
  EXPECT_EQ(index.identify(WindowNames{"mail", "Mail", "", ""}, 1).appName, "My Mail");
  EXPECT_EQ(index.identify(WindowNames{"sub-chat", "Sub-chat", "", ""}, 1).bundleId, "sub-chat");
}

}  // namespace
}  // namespace velto::platform
