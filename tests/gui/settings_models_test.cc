// The settings panes' logic: every choice lands in the key the core reads.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "gui/scripted_services.h"
#include "gui/settings/general_settings.h"
#include "gui/settings/limit_candidates.h"
#include "gui/settings/rules_model.h"
#include "gui/settings/settings_window.h"

namespace velto::gui {
namespace {

using velto::testing::at;

class SettingsModelsTest : public ::testing::Test {
 protected:
  // The user's folders under the test's folder, and a systemctl that links and unlinks the
  // unit as the real one does.
  platform::LoginStartPaths loginPaths() {
    platform::LoginStartPaths paths;
    paths.program = "/opt/Velto apps/velto";
    paths.autostartFile = scripted.dir / "autostart" / "velto.desktop";
    paths.userUnitFolder = scripted.dir / "systemd" / "user";
    paths.installedUnit = scripted.dir / "none" / "velto.service";
    const auto wants = paths.userUnitFolder / "graphical-session.target.wants";
    paths.systemctl = (scripted.dir / "systemctl").string();
    std::ofstream(paths.systemctl) << "#!/bin/sh\ncase \"$2\" in\n"
                                   << "enable) mkdir -p '" << wants.string() << "' && ln -sf '"
                                   << (paths.userUnitFolder / "velto.service").string() << "' '"
                                   << wants.string() << "/velto.service' ;;\n"
                                   << "disable) rm -f '" << wants.string() << "/velto.service' ;;\n"
                                   << "esac\n";
    std::filesystem::permissions(paths.systemctl, std::filesystem::perms::owner_all);
    return paths;
  }
  GeneralSettings general() { return GeneralSettings(*scripted.services, loginPaths()); }
  Settings& settings() { return scripted.services->settings(); }

  velto::testing::ScriptedServices scripted;
};

TEST_F(SettingsModelsTest, RetentionChoicesWriteBothKeysAndAskBeforeShortening) {
  GeneralSettings model = general();
  EXPECT_EQ(model.retention(), 90);
  EXPECT_TRUE(model.shortens(30));
  EXPECT_FALSE(model.shortens(365));
  EXPECT_FALSE(model.shortens(std::nullopt));
  EXPECT_EQ(model.confirmationText(30), "Delete everything older than 30 days?");
  EXPECT_EQ(model.confirmationText(365), "");

  model.setRetention(std::nullopt);
  EXPECT_TRUE(settings().retention().forever());
  EXPECT_TRUE(model.shortens(365)) << "anything is shorter than forever";

  model.setRetention(30);
  EXPECT_EQ(settings().retention().days, 30);
}

TEST_F(SettingsModelsTest, ShorteningHistoryPurgesAtOnce) {
  scripted.services->start();
  const ActivityContext code{"code", "Code", {}, {}, {}, {}};
  ASSERT_TRUE(scripted.services->store().insert({code, at("2026-10-01T10:00:00Z"),
                                                 at("2026-10-01T11:00:00Z"),
                                                 SegmentEndReason::focusChange}));
  ASSERT_EQ(scripted.services->store().count().value(), 1);
  general().setRetention(30);
  EXPECT_EQ(scripted.services->store().count().value(), 0);
  scripted.services->quit();
}

TEST_F(SettingsModelsTest, MinutesAndAppearanceWriteThrough) {
  GeneralSettings model = general();
  EXPECT_EQ(model.idleMinutes(), 2);
  model.setIdleMinutes(5);
  EXPECT_DOUBLE_EQ(settings().idleThresholdSeconds(), 300);
  EXPECT_EQ(model.awayPromptMinutes(), 15);
  model.setAwayPromptMinutes(0);
  EXPECT_EQ(settings().awayPromptMinutes(), 0) << "0 turns the prompt off";
  model.setLanguage("fr");
  EXPECT_EQ(scripted.services->language(), "fr");
  model.setTheme("dark");
  EXPECT_EQ(settings().theme(), "dark");
}

TEST_F(SettingsModelsTest, TheWrittenSummaryIsOfferedAndItsModelKeptOnThisComputer) {
  GeneralSettings model = general();
  EXPECT_FALSE(model.writtenSummary());
  model.setWrittenSummary(true);
  EXPECT_TRUE(settings().aiSummaryEnabled());

  EXPECT_EQ(model.modelAddress(), "");
  struct Case {
    const char* typed;
    const char* stored;  // nullptr: refused, the address before unchanged
    const char* message;
  };
  const Case cases[] = {
      {"  http://127.0.0.1:8080/v1/chat/completions ", "http://127.0.0.1:8080/v1/chat/completions",
       ""},
      {"http://[::1]:11434", "http://[::1]:11434", ""},
      {"https://api.example.com/v1", nullptr,
       "The model address https://api.example.com/v1 is not a valid http:// address."},
      {"http://192.0.2.7:8080", nullptr,
       "The model address http://192.0.2.7:8080 is not on this computer. Only loopback "
       "addresses (localhost, 127.0.0.0/8, ::1) are allowed, so nothing was sent."},
      {"localhost:8080", "localhost:8080", ""},
      {"   ", "", ""},
  };
  std::string before;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    const Status set = model.setModelAddress(c.typed);
    EXPECT_EQ(set.ok(), c.stored != nullptr);
    if (!set) {
      EXPECT_EQ(set.error(), c.message);
    }
    before = c.stored ? c.stored : before;
    EXPECT_EQ(model.modelAddress(), before);
  }
  EXPECT_FALSE(settings().aiModelEndpoint()) << "emptied: the built-in writer";
}

TEST_F(SettingsModelsTest, LaunchAtLoginWritesTheAutostartEntryOrEnablesTheUnit) {
  using platform::AutostartFile;
  GeneralSettings model = general();
  const auto file = scripted.dir / "autostart" / "velto.desktop";
  const auto link =
      scripted.dir / "systemd" / "user" / "graphical-session.target.wants" / "velto.service";
  ASSERT_TRUE(model.setLaunchAtLogin(LoginStart::autostart));
  EXPECT_TRUE(settings().launchAtLogin());
  EXPECT_EQ(model.launchAtLogin(), LoginStart::autostart);
  std::ifstream in(file);
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_NE(text.str().find("Exec=\"/opt/Velto apps/velto\"\n"), std::string::npos);
  EXPECT_NE(text.str().find("[Desktop Entry]\nType=Application\n"), std::string::npos);

  ASSERT_TRUE(model.setLaunchAtLogin(LoginStart::service));
  EXPECT_EQ(model.launchAtLogin(), LoginStart::service);
  EXPECT_EQ(settings().launchAtLoginMode(), "service");
  EXPECT_FALSE(std::filesystem::exists(file)) << "never both at once";
  EXPECT_TRUE(std::filesystem::is_symlink(link));

  ASSERT_TRUE(model.setLaunchAtLogin(LoginStart::off));
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_FALSE(std::filesystem::is_symlink(link));
  EXPECT_FALSE(settings().launchAtLogin());
  EXPECT_EQ(model.launchAtLoginMode(), "service") << "the pane offers the last way again";
  EXPECT_NE(AutostartFile::contents("/a$b").find("Exec=\"/a\\$b\""), std::string::npos);
}

TEST_F(SettingsModelsTest, DeleteAllWipesTheStore) {
  const ActivityContext code{"code", "Code", {}, {}, {}, {}};
  ASSERT_TRUE(scripted.services->store().insert({code, at("2026-11-21T07:00:00Z"),
                                                 at("2026-11-21T08:00:00Z"),
                                                 SegmentEndReason::focusChange}));
  ASSERT_TRUE(general().deleteAllData());
  EXPECT_EQ(scripted.services->store().count().value(), 0);
}

TEST_F(SettingsModelsTest, RulesAreStoredAsTheResolverReadsThem) {
  RulesModel rules(*scripted.services);
  struct Case {
    CategoryRule::Subject subject;
    const char* typed;
    std::optional<std::string> stored;
  };
  const Case cases[] = {
      {CategoryRule::Subject::host, "https://www.Example.com/path", "example.com"},
      {CategoryRule::Subject::host, "localhost", std::nullopt},
      {CategoryRule::Subject::app, "  org.gnome.Terminal ", "org.gnome.Terminal"},
      {CategoryRule::Subject::keyword, "  standup\n", "standup"},
      {CategoryRule::Subject::keyword, "   ", std::nullopt},
  };
  for (const Case& c : cases)
    EXPECT_EQ(RulesModel::pattern(c.subject, c.typed), c.stored) << c.typed;

  ASSERT_TRUE(rules.add(CategoryRule::Subject::host, "news.example.org", "reading"));
  EXPECT_FALSE(rules.add(CategoryRule::Subject::host, "news.example.org", "no-such-category"));
  EXPECT_FALSE(rules.add(CategoryRule::Subject::keyword, " ", "reading"));
  const std::vector<CategoryRule> stored = rules.rules();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].subjectRaw, "host");
  EXPECT_EQ(rules.describe(stored[0]), "Site: news.example.org → Reading");
  ASSERT_TRUE(rules.remove(stored[0].id));
  EXPECT_TRUE(rules.rules().empty());
}

TEST_F(SettingsModelsTest, LimitSheetOffersEverythingCategoriesAndRecordedApps) {
  const ActivityContext code{"code", "Code", {}, {}, {}, {}};
  ASSERT_TRUE(scripted.services->store().insert({code, at("2026-11-20T07:00:00Z"),
                                                 at("2026-11-20T08:00:00Z"),
                                                 SegmentEndReason::focusChange}));
  const std::vector<LimitCandidate> candidates = limitCandidates(*scripted.services);
  ASSERT_FALSE(candidates.empty());
  EXPECT_EQ(candidates.front().label, "Everything");
  EXPECT_EQ(candidates.front().subject, UsageLimit::Subject::total());
  const auto app = std::find_if(candidates.begin(), candidates.end(), [](const auto& c) {
    return c.subject.kind == UsageLimit::Subject::Kind::app;
  });
  ASSERT_NE(app, candidates.end());
  EXPECT_EQ(app->subject.value, "code");
  EXPECT_EQ(app->label, "Code");

  scripted.services->limits().set(UsageLimit::Subject::total(), UsageLimit::Kind::limit,
                                  UsageLimit::Span::day, 7200);
  EXPECT_EQ(limitLine(*scripted.services, scripted.services->limits().limits().front()),
            "0s of 2h today");

  // Today's apps come before those of earlier days, however long those ran; groups stay together.
  const ActivityContext chat{"slack", "Slack", {}, {}, {}, {}};
  ASSERT_TRUE(scripted.services->store().insert({chat, at("2026-11-21T08:00:00Z"),
                                                 at("2026-11-21T08:05:00Z"),
                                                 SegmentEndReason::focusChange}));
  const std::vector<LimitCandidate> ordered = limitCandidates(*scripted.services);
  std::vector<std::string> apps;
  std::vector<UsageLimit::Subject::Kind> kinds;
  for (const LimitCandidate& candidate : ordered) {
    if (kinds.empty() || kinds.back() != candidate.subject.kind) {
      kinds.push_back(candidate.subject.kind);
    }
    if (candidate.subject.kind == UsageLimit::Subject::Kind::app) {
      apps.push_back(candidate.subject.value);
    }
  }
  EXPECT_EQ(apps, (std::vector<std::string>{"slack", "code"}));
  EXPECT_EQ(kinds, (std::vector<UsageLimit::Subject::Kind>{UsageLimit::Subject::Kind::total,
                                                           UsageLimit::Subject::Kind::category,
                                                           UsageLimit::Subject::Kind::app}));
}

TEST_F(SettingsModelsTest, WindowOpensEveryPaneByName) {
  SettingsWindow window(
      PaneContext{*scripted.services, "en", loginPaths(), {"record.missing.logind"}, false});
  for (std::string_view pane : SettingsWindow::kPanes) {
    EXPECT_TRUE(window.showPane(pane));
    EXPECT_EQ(window.currentPane(), pane);
  }
  EXPECT_FALSE(window.showPane("nowhere"));
}

}  // namespace
}  // namespace velto::gui
