// The panes' controls reach the settings keys the core reads.
#include "gui/settings/settings_panes.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>

#include "gui/scripted_services.h"

namespace velto::gui {
namespace {

class SettingsPanesTest : public ::testing::Test {
 protected:
  PaneContext context() {
    platform::LoginStartPaths login;
    login.program = "/usr/bin/velto";
    login.autostartFile = scripted.dir / "auto";
    login.userUnitFolder = scripted.dir / "units";
    return PaneContext{*scripted.services, "en", login, {}, true};
  }
  template <typename T>
  static T* child(QWidget* pane, const QString& text) {
    for (T* widget : pane->findChildren<T*>()) {
      if constexpr (std::is_same_v<T, QLineEdit>) {
        if (widget->placeholderText() == text) return widget;
      } else {
        if (widget->text() == text) return widget;
      }
    }
    ADD_FAILURE() << "no control " << text.toStdString();
    return nullptr;
  }

  velto::testing::ScriptedServices scripted;
};

TEST_F(SettingsPanesTest, NotificationSwitchesAndHours) {
  PaneContext ctx = context();
  std::unique_ptr<QWidget> pane(makeNotificationsPane(ctx));
  Settings& settings = scripted.services->settings();
  child<QCheckBox>(pane.get(), "Send a summary of the day")->setChecked(true);
  EXPECT_TRUE(settings.dailySummaryEnabled());
  child<QCheckBox>(pane.get(), "Tell me when a goal is met")->setChecked(true);
  EXPECT_TRUE(settings.goalAlertsEnabled());
  child<QCheckBox>(pane.get(), "Send a weekly digest")->setChecked(false);
  EXPECT_FALSE(settings.weeklyDigestEnabled());
  const QList<QSpinBox*> hours = pane->findChildren<QSpinBox*>();
  ASSERT_EQ(hours.size(), 2);
  hours[0]->setValue(21);
  EXPECT_EQ(settings.dailySummaryHour(), 21);
  hours[1]->setValue(7);
  EXPECT_EQ(settings.digestHour(), 7);
}

TEST_F(SettingsPanesTest, ExclusionsTakeTypedSitesAndThePrivateWindowSwitch) {
  PaneContext ctx = context();
  std::unique_ptr<QWidget> pane(makeExclusionsPane(ctx));
  QLineEdit* host = child<QLineEdit>(pane.get(), "example.com");
  ASSERT_NE(host, nullptr);
  host->setText("https://www.Example.com/path");
  Q_EMIT host->returnPressed();
  EXPECT_EQ(scripted.services->exclusions().list().hosts, std::vector<std::string>{"example.com"});
  EXPECT_TRUE(host->text().isEmpty());
  child<QCheckBox>(pane.get(), "Skip private and incognito windows")->setChecked(true);
  EXPECT_TRUE(scripted.services->exclusions().skipPrivateWindows());
}

TEST_F(SettingsPanesTest, PermissionsOptInIsTheBrowserReadingSetting) {
  PaneContext ctx = context();
  std::unique_ptr<QWidget> pane(makePermissionsPane(ctx));
  child<QCheckBox>(pane.get(), "Read the site of the front browser tab")->setChecked(true);
  EXPECT_TRUE(scripted.services->settings().accessibilityRequested());
  child<QCheckBox>(pane.get(), "Record window titles, sites and terminal tools (not only the app)")
      ->setChecked(false);
  EXPECT_FALSE(scripted.services->settings().detailCaptureEnabled());
}

TEST_F(SettingsPanesTest, PermissionsNameTheBackendAndWhyThereIsNone) {
  struct Case {
    std::string backend, reasonKey;
    QString line;
  };
  const std::vector<Case> cases = {
      {"x11", "", "Desktop backend: x11"},
      {"wlroots", "", "Desktop backend: wlroots"},
      {"kwin", "", "Desktop backend: kwin"},
      {"", "backend.none.kwinScript",
       "Desktop backend: none — KWin did not run Velto's window script: the application in front, "
       "window titles and idle time are not recorded."},
  };
  for (const Case& test : cases) {
    PaneContext ctx = context();
    ctx.backend = test.backend;
    ctx.backendReasonKey = test.reasonKey;
    std::unique_ptr<QWidget> pane(makePermissionsPane(ctx));
    EXPECT_NE(child<QLabel>(pane.get(), test.line), nullptr);
  }
}

// Points the user's folders at `root` while it lives.
class UserFoldersAt {
 public:
  explicit UserFoldersAt(const std::filesystem::path& root) {
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
      const char* value = std::getenv(name);
      saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
    }
    setenv("HOME", root.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (root / "config").c_str(), 1);
    setenv("XDG_DATA_HOME", (root / "data").c_str(), 1);
  }
  ~UserFoldersAt() {
    for (const auto& [name, value] : saved_) {
      if (value) {
        setenv(name.c_str(), value->c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
  }

 private:
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(SettingsPanesTest, PermissionsInstallAndRemoveTheBrowserExtension) {
  const std::filesystem::path root = scripted.dir / "user";
  UserFoldersAt folders(root);
  std::filesystem::create_directories(root / "config" / "chromium");
  std::filesystem::create_directories(root / "bin");
  std::ofstream(root / "bin" / "velto-browser-host") << "#!/bin/sh\n";
  PaneContext ctx = context();
  ctx.loginStart.program = root / "bin" / "velto";
  std::unique_ptr<QWidget> pane(makePermissionsPane(ctx));
  ASSERT_NE(child<QLabel>(pane.get(), "No browser is connected yet."), nullptr);

  QPushButton* install = child<QPushButton>(pane.get(), "Install the browser extension");
  ASSERT_NE(install, nullptr);
  install->click();
  const std::filesystem::path manifest =
      root / "config/chromium/NativeMessagingHosts/org.velto.browser_host.json";
  EXPECT_TRUE(std::filesystem::exists(manifest));
  EXPECT_TRUE(std::filesystem::exists(root / "data/Velto/browser-extension/manifest.json"));
  // Only the browser used here is connected: no folder is made for the others.
  EXPECT_FALSE(std::filesystem::exists(root / ".mozilla"));
  EXPECT_NE(child<QLabel>(pane.get(), "Connected: Chromium"), nullptr);

  QPushButton* remove = child<QPushButton>(pane.get(), "Remove the browser extension");
  ASSERT_NE(remove, nullptr);
  remove->click();
  EXPECT_FALSE(std::filesystem::exists(manifest));
  EXPECT_FALSE(std::filesystem::exists(root / "data/Velto/browser-extension"));
  EXPECT_NE(child<QLabel>(pane.get(), "No browser is connected yet."), nullptr);
}

}  // namespace
}  // namespace velto::gui
