// The panes' controls reach the settings keys the core reads.
#include "gui/settings/settings_panes.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
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

TEST_F(SettingsPanesTest, TheWrittenSummarySwitchAndTheModelAddressField) {
  PaneContext ctx = context();
  std::unique_ptr<QWidget> pane(makeGeneralPane(ctx));
  Settings& settings = scripted.services->settings();
  QLineEdit* address = child<QLineEdit>(pane.get(), "Built-in writer");
  ASSERT_NE(address, nullptr);
  EXPECT_FALSE(address->isEnabled()) << "no address while the summary is not offered";
  QCheckBox* offer = child<QCheckBox>(pane.get(), "Offer a written summary");
  ASSERT_NE(offer, nullptr);
  offer->setChecked(true);
  EXPECT_TRUE(settings.aiSummaryEnabled());
  EXPECT_TRUE(address->isEnabled());

  auto* problem = pane->findChild<QLabel*>("modelAddressProblem");
  ASSERT_NE(problem, nullptr);
  address->setText("http://10.0.0.2:8080");
  Q_EMIT address->editingFinished();
  EXPECT_FALSE(settings.aiModelEndpoint()) << "refused, not stored";
  EXPECT_TRUE(
      problem->text().startsWith("The model address http://10.0.0.2:8080 is not on this "
                                 "computer."))
      << problem->text().toStdString();
  EXPECT_FALSE(problem->isHidden());
  address->setText("http://127.0.0.1:8080");
  Q_EMIT address->editingFinished();
  EXPECT_EQ(settings.aiModelEndpoint(), "http://127.0.0.1:8080");
  EXPECT_TRUE(problem->isHidden());
}

TEST_F(SettingsPanesTest, TheAddLimitSheetGroupsSubjectsAndTakesAMinute) {
  const ActivityContext code{"code", "Code", {}, {}, {}, {}};
  ASSERT_TRUE(scripted.services->store().insert({code, velto::testing::at("2026-11-21T08:00:00Z"),
                                                 velto::testing::at("2026-11-21T08:30:00Z"),
                                                 SegmentEndReason::focusChange}));
  PaneContext ctx = context();
  std::unique_ptr<QWidget> pane(makeLimitsPane(ctx));
  QStringList offered;
  bool okAtZero = true;
  QTimer::singleShot(0, [&] {
    auto* sheet = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (sheet == nullptr) {
      ADD_FAILURE() << "no sheet";
      return;
    }
    EXPECT_GE(sheet->minimumWidth(), sheet->fontMetrics().horizontalAdvance(sheet->windowTitle()));
    auto* subject = sheet->findChild<QComboBox*>();
    const QList<QSpinBox*> amount = sheet->findChildren<QSpinBox*>();
    if (subject == nullptr || amount.size() != 2) {
      sheet->reject();
      ADD_FAILURE() << "no subject or amount";
      return;
    }
    for (int i = 0; i < subject->count(); ++i) offered << subject->itemText(i);
    amount[0]->setValue(0);
    amount[1]->setValue(0);
    okAtZero = sheet->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
    amount[1]->setValue(1);
    subject->setCurrentIndex(subject->findText("    Code"));
    sheet->accept();
  });
  child<QPushButton>(pane.get(), "Add Limit or Goal…")->click();

  ASSERT_FALSE(offered.isEmpty());
  EXPECT_EQ(offered.front(), "Everything");
  const auto at = [&](const QString& text) { return offered.indexOf(text); };
  EXPECT_LT(at("Categories"), at("    Coding"));
  EXPECT_LT(at("    Coding"), at("Apps"));
  EXPECT_LT(at("Apps"), at("    Code"));
  EXPECT_FALSE(okAtZero) << "no limit of nothing";
  const std::vector<UsageLimit>& limits = scripted.services->limits().limits();
  ASSERT_EQ(limits.size(), 1u);
  EXPECT_EQ(limits[0].subject.value, "code");
  EXPECT_EQ(limits[0].secondsPerDay, 60);
}

TEST_F(SettingsPanesTest, NotificationChoicesSpeakTheCatalogsWords) {
  PaneContext ctx = context();
  std::unique_ptr<QWidget> pane(makeNotificationsPane(ctx));
  auto* warn = pane->findChild<QComboBox*>();
  ASSERT_NE(warn, nullptr);
  QStringList choices;
  for (int i = 0; i < warn->count(); ++i) choices << warn->itemText(i);
  EXPECT_EQ(choices, (QStringList{"Never", "At 75%", "At 80%", "At 90%"}));
  QStringList lines;
  for (QLabel* label : pane->findChildren<QLabel*>()) lines << label->text();
  EXPECT_TRUE(lines.contains("What moved since last week, in one line."));
  EXPECT_TRUE(
      lines.contains("Your day in one line: how much, mostly what, against a usual day, "
                     "and your goals. Skipped on days under 30 minutes."));
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
