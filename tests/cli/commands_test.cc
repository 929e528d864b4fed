// The setup and edit commands end to end: each runs as `velto <command>` would, on a settings
// file and a store in a temporary folder, and is checked through what it printed and what it
// left behind.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "app/service_set.h"
#include "cli/command.h"
#include "cli/commands/recorder_presence.h"
#include "recording/segment_checkpoint.h"
#include "settings/settings_keys.h"
#include "store/store_fixture.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"

namespace velto::cli {
namespace {

using nlohmann::json;
using velto::testing::at;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
  json document() const { return json::parse(out); }
};

// Sets an environment variable for the life of the object.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    ::setenv(name, value.c_str(), 1);
  }
  ~ScopedEnv() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

class CommandsTest : public ::testing::Test {
 protected:
  Outcome run(const std::string& name, std::vector<std::string> args,
              const std::string& language = "en") {
    for (const Command& command : commands()) {
      if (command.name != name) continue;
      ::testing::internal::CaptureStdout();
      ::testing::internal::CaptureStderr();
      Outcome outcome;
      outcome.status = command.run(Invocation{std::move(args), language});
      outcome.out = ::testing::internal::GetCapturedStdout();
      outcome.err = ::testing::internal::GetCapturedStderr();
      return outcome;
    }
    ADD_FAILURE() << "no command " << name;
    return {};
  }

  // A refusal: a non-zero status and one line saying why.
  void expectRefused(const Outcome& outcome, const std::string& why) {
    EXPECT_NE(outcome.status, 0) << why;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(why), std::string::npos) << outcome.err;
  }

  std::string settingsText() {
    std::ifstream file(dir / "config/Velto/settings.json");
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  // The user's store, as the recorder keeps it.
  std::unique_ptr<SegmentStore> openStore() {
    persistence = std::make_unique<PersistenceController>(dir / "data/Velto");
    return std::make_unique<SegmentStore>(*persistence, calendar, bus);
  }

  testing::TempDir dir;
  testing::LogCapture logs;
  ScopedEnv home{"HOME", dir.path().string()};
  ScopedEnv config{"XDG_CONFIG_HOME", (dir / "config").string()};
  ScopedEnv data{"XDG_DATA_HOME", (dir / "data").string()};
  ScopedEnv runtime{"XDG_RUNTIME_DIR", (dir / "run").string()};
  ScopedEnv zone{"TZ", "UTC"};
  Calendar calendar = *Calendar::named("UTC");
  NoticeBus bus;
  std::unique_ptr<PersistenceController> persistence;
};

TEST_F(CommandsTest, SettingsAreTypedCheckedAndReset) {
  const Outcome listed = run("settings", {"list", "--json"});
  ASSERT_EQ(listed.status, 0) << listed.err;
  const json all = listed.document()["settings"];
  ASSERT_EQ(all.size(), std::size(keys::kAll));
  EXPECT_EQ(all[2], json({{"key", "velto.idleThresholdSeconds"},
                          {"kind", "seconds"},
                          {"value", 120},
                          {"default", 120},
                          {"isDefault", true},
                          {"writable", true},
                          {"minimum", 1},
                          {"maximum", 86400}}));

  expectRefused(run("settings", {"set", "dailySummaryHour", "12"}), "velto.dailySummaryHour");
  expectRefused(run("settings", {"set", "velto.nothing", "1"}), "velto.nothing");
  expectRefused(run("settings", {"set", "velto.limits", "[]"}), "velto limits");
  expectRefused(run("settings", {"set", "retentionDays", "30"}), "30");  // asks first
  EXPECT_EQ(settingsText(), "") << "nothing is written on bad input";

  const Outcome on = run("settings", {"set", "dailySummaryEnabled", "on"});
  ASSERT_EQ(on.status, 0) << on.err;
  EXPECT_EQ(on.err, "velto.dailySummaryEnabled: false → true\n");
  const Outcome got = run("settings", {"get", "velto.dailySummaryEnabled", "--json"});
  ASSERT_EQ(got.status, 0) << got.err;
  EXPECT_EQ(got.document()["value"], true);
  EXPECT_EQ(got.document()["isDefault"], false);

  ASSERT_EQ(run("settings", {"set", "retentionDays", "30", "--yes"}).status, 0);
  EXPECT_EQ(run("settings", {"get", "retentionDays"}).out, "30\n");
  ASSERT_EQ(run("settings", {"reset", "dailySummaryEnabled"}).status, 0);
  EXPECT_EQ(run("settings", {"get", "dailySummaryEnabled", "--json"}).document()["isDefault"],
            true);
  EXPECT_EQ(run("settings", {"frobnicate"}).status, 2);
}

TEST_F(CommandsTest, LimitsAreAddedByRuleKeyAndBadInputAddsNothing) {
  const Outcome added = run("limits", {"add", "app:Code", "1h30m", "--kind", "goal", "--per",
                                       "week", "--name", "Code", "--json"});
  ASSERT_EQ(added.status, 0) << added.err;
  EXPECT_EQ(added.document()["key"], "goal:week:app:code");
  EXPECT_EQ(added.document()["seconds"], 5400);

  for (const std::vector<std::string>& bad :
       std::vector<std::vector<std::string>>{{"add", "app:code", "0m"},
                                             {"add", "app:code", "-1h"},
                                             {"add", "app:code", "an hour"},
                                             {"add", "category:nosuch", "1h"},
                                             {"add", "site:localhost", "1h"},
                                             {"add", "someone", "1h"},
                                             {"add", "everything", "1h", "--per", "month"},
                                             {"add", "everything", "1h", "--warn", "0.5"},
                                             {"disable", "limit:day:total"}}) {
    SCOPED_TRACE(bad[1]);
    const Outcome refused = run("limits", bad);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(std::count(refused.err.begin(), refused.err.end(), '\n'), 1) << refused.err;
  }

  // The same subject, kind and period is the same rule: its amount changes.
  ASSERT_EQ(run("limits", {"add", "app:code", "2h", "--kind", "goal", "--per", "week"}).status, 0);
  ASSERT_EQ(run("limits", {"add", "category:Social", "45m", "--warn", "0.9"}).status, 0);
  json limits = run("limits", {"--json"}).document()["limits"];
  ASSERT_EQ(limits.size(), 2u);
  EXPECT_EQ(limits[0]["seconds"], 7200);
  EXPECT_EQ(limits[0]["subject"], json({{"kind", "app"}, {"value", "code"}, {"name", "Code"}}));
  EXPECT_EQ(limits[1]["key"], "limit:day:category:social");
  EXPECT_EQ(limits[1]["progress"], "0s of 45m today");
  EXPECT_EQ(run("settings", {"get", "limitWarnRatio"}).out, "0.9\n");

  ASSERT_EQ(run("limits", {"disable", "limit:day:category:social"}).status, 0);
  ASSERT_EQ(run("limits", {"set", limits[0]["id"].get<std::string>().substr(0, 6), "3h"}).status,
            0);
  limits = run("limits", {"list", "--json"}).document()["limits"];
  ASSERT_EQ(limits.size(), 2u);
  EXPECT_EQ(limits[0]["seconds"], 10800);
  EXPECT_EQ(limits[1]["enabled"], false);
  ASSERT_EQ(run("limits", {"remove", limits[1]["id"]}).status, 0);
  EXPECT_EQ(run("limits", {"--json"}).document()["limits"].size(), 1u);
}

TEST_F(CommandsTest, RulesAreAddedTestedAndRemoved) {
  const Outcome added =
      run("rules", {"add", "site", "https://www.Example.com/x", "reading", "--json"});
  ASSERT_EQ(added.status, 0) << added.err;
  EXPECT_EQ(added.document()["pattern"], "example.com");
  EXPECT_EQ(added.document()["subject"], "site");
  const std::string id = added.document()["id"];

  expectRefused(run("rules", {"add", "app", "  ", "coding"}), "  ");
  expectRefused(run("rules", {"add", "keyword", "standup", "nosuch"}), "nosuch");
  expectRefused(run("rules", {"add", "window", "x", "coding"}), "window");

  const Outcome tested = run("rules", {"test", "--site", "docs.example.com", "--json"});
  ASSERT_EQ(tested.status, 0) << tested.err;
  const json result = tested.document()["results"][0];
  EXPECT_EQ(result["category"], "reading");
  EXPECT_EQ(result["decidedBy"], "hostRule");
  EXPECT_EQ(result["ruleId"], id);

  ASSERT_EQ(run("rules", {"remove", id.substr(0, 8)}).status, 0);
  EXPECT_TRUE(run("rules", {"--json"}).document()["rules"].empty());
  expectRefused(run("rules", {"remove", id}), id);
}

TEST_F(CommandsTest, RemovingACategoryTakesItsRulesAndLimits) {
  const Outcome made =
      run("categories", {"add", "Deep work", "--colour", "teal", "--focus", "focus", "--json"});
  ASSERT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(made.document()["colour"], "teal");
  EXPECT_EQ(made.document()["focus"], "focus");
  ASSERT_EQ(run("rules", {"add", "keyword", "standup", "deep work"}).status, 0);
  ASSERT_EQ(run("limits", {"add", "category:Deep work", "2h", "--kind", "goal"}).status, 0);
  expectRefused(run("categories", {"add", "deep WORK"}), "deep WORK");
  expectRefused(run("categories", {"recolor", "Deep work", "blurple"}), "blurple");
  expectRefused(run("categories", {"remove", "coding"}), "coding");

  ASSERT_EQ(run("categories", {"remove", "Deep work"}).status, 0);
  EXPECT_TRUE(run("rules", {"--json"}).document()["rules"].empty());
  EXPECT_TRUE(run("limits", {"--json"}).document()["limits"].empty());
  EXPECT_EQ(run("categories", {"--json"}).document()["categories"].size(), 10u);
}

TEST_F(CommandsTest, BuiltInCategoriesAreChangedAndResetKeepingOtherChanges) {
  ASSERT_EQ(run("categories", {"set-focus", "social", "neutral"}).status, 0);
  ASSERT_EQ(run("categories", {"rename", "Social", "Friends"}).status, 0);
  json social = run("categories", {"--json"}).document()["categories"][4];
  EXPECT_EQ(social["name"], "Friends");
  EXPECT_EQ(social["focus"], "neutral") << "renaming keeps the earlier change";
  EXPECT_EQ(social["renamedFrom"], "Social");
  ASSERT_EQ(run("categories", {"reset", "Friends"}).status, 0);
  social = run("categories", {"--json"}).document()["categories"][4];
  EXPECT_EQ(social["name"], "Social");
  EXPECT_EQ(social["focus"], "distracting");
}

TEST_F(CommandsTest, ExclusionsAreListedAddedAndRemoved) {
  ASSERT_EQ(run("exclude", {"add", "site", "https://www.Example.com/path"}).status, 0);
  ASSERT_EQ(run("exclude", {"add", "app", "org.Signal.Desktop"}).status, 0);
  ASSERT_EQ(run("exclude", {"private", "on"}).status, 0);
  expectRefused(run("exclude", {"add", "site", "localhost"}), "localhost");
  expectRefused(run("exclude", {"remove", "site", "example.org"}), "example.org");
  EXPECT_EQ(run("exclude", {"--json"}).document(),
            json({{"apps", {{{"bundleId", "org.Signal.Desktop"}, {"name", "org.Signal.Desktop"}}}},
                  {"sites", {"example.com"}},
                  {"skipPrivateWindows", true}}));
  ASSERT_EQ(run("exclude", {"remove", "site", "example.com"}).status, 0);
  EXPECT_TRUE(run("exclude", {"--json"}).document()["sites"].empty());
}

TEST_F(CommandsTest, RecordedTimeIsDeletedReassignedAndWiped) {
  {
    auto store = openStore();
    const ActivityContext code{"code", "Code", {}, {}, {}, {}};
    const ActivityContext web{
        "firefox", "Firefox", std::string("Docs"), std::string("docs.example.com"), {}, {}};
    ASSERT_TRUE(store->insert({code, at("2026-11-24T09:00:00Z"), at("2026-11-24T10:00:00Z"),
                               SegmentEndReason::focusChange}));
    ASSERT_TRUE(store->insert({web, at("2026-11-24T10:00:00Z"), at("2026-11-24T11:00:00Z"),
                               SegmentEndReason::focusChange}));
  }
  expectRefused(run("delete", {"--from", "2026-11-24T11:00:00Z", "--to", "2026-11-24T10:00:00Z"}),
                "ends before it starts");
  expectRefused(run("delete", {"--from", "2026-11-24T09:00:00Z"}), "--to");
  expectRefused(run("delete", {"--date", "2026-11-24", "--from", "09:00", "--to", "10:00"}),
                "--date");
  expectRefused(run("reassign", {"--date", "2026-11-24", "--away", "nap"}), "nap");

  const Outcome deleted = run("delete", {"--from", "2026-11-24T09:30:00Z", "--to",
                                         "2026-11-24T10:30:00Z", "--app", "code", "--json"});
  ASSERT_EQ(deleted.status, 0) << deleted.err;
  EXPECT_EQ(deleted.document(), json({{"from", "2026-11-24T09:30:00Z"},
                                      {"to", "2026-11-24T10:30:00Z"},
                                      {"rows", 1},
                                      {"seconds", 1800}}));
  const Outcome given =
      run("reassign", {"--date", "2026-11-24", "--site", "example.com", "--away", "meeting"});
  ASSERT_EQ(given.status, 0) << given.err;
  {
    auto store = openStore();
    const std::vector<Segment> rows =
        store->fetchOverlapping(at("2026-11-24T00:00:00Z"), at("2026-11-25T00:00:00Z")).value();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].bundleId, "code");
    EXPECT_EQ(rows[0].endedAt, at("2026-11-24T09:30:00Z"));
    EXPECT_EQ(rows[1].bundleId, "velto.offmac.meeting");
    EXPECT_FALSE(rows[1].host);
  }

  expectRefused(run("wipe", {}), "--yes");
  EXPECT_EQ(openStore()->count().value(), 2);
  ASSERT_EQ(run("wipe", {"--yes"}).status, 0);
  EXPECT_EQ(openStore()->count().value(), 0);
}

// Settled days keep totals per site; the facts still name what an application was mostly used
// for, for a past day as for a week or a range.
TEST_F(CommandsTest, SummaryFactsKeepTheDetailsOfEveryPeriod) {
  {
    auto store = openStore();
    const auto browse = [&](const char* host, const char* from, const char* to) {
      const ActivityContext web{"firefox",         "Firefox", std::string("Page"),
                                std::string(host), {},        {}};
      ASSERT_TRUE(store->insert({web, at(from), at(to), SegmentEndReason::focusChange}));
    };
    browse("github.com", "2026-11-10T09:00:00Z", "2026-11-10T10:00:00Z");
    browse("docs.python.org", "2026-11-10T10:00:00Z", "2026-11-10T10:30:00Z");
    browse("github.com", "2026-11-11T09:00:00Z", "2026-11-11T09:20:00Z");
  }
  const std::vector<std::vector<std::string>> periods = {
      {"--period", "day", "--date", "2026-11-10"},
      {"--period", "week", "--date", "2026-11-10"},
      {"--period", "month", "--date", "2026-11-10"},
      {"--from", "2026-11-09", "--to", "2026-11-12"}};
  for (std::vector<std::string> period : periods) {
    SCOPED_TRACE(period[1]);
    period.push_back("--facts");
    const Outcome facts = run("summary", period);
    ASSERT_EQ(facts.status, 0) << facts.err;
    EXPECT_TRUE(has(facts.out, "(mostly github.com, docs.python.org)")) << facts.out;
  }
}

// A model address off this computer is refused before any request, for every period: one line
// with the catalog's reason, and nothing about a failed day summary.
TEST_F(CommandsTest, SummaryRefusesAModelAddressOffThisComputerForEveryPeriod) {
  {
    auto store = openStore();
    ASSERT_TRUE(
        store->insert({ActivityContext{"code", "Code", {}, {}, {}, {}}, at("2026-11-24T09:00:00Z"),
                       at("2026-11-24T11:00:00Z"), SegmentEndReason::focusChange}));
  }
  std::filesystem::create_directories(dir / "config/Velto");
  std::ofstream(dir / "config/Velto/settings.json")
      << R"({"velto.aiModelEndpoint": "http://example.com:8080/v1"})";
  for (const char* period : {"day", "week", "month"}) {
    SCOPED_TRACE(period);
    logs.lines.clear();
    const Outcome refused = run("summary", {"--period", period, "--date", "2026-11-24"});
    expectRefused(refused, "The model address http://example.com:8080/v1 is not on this computer");
    EXPECT_FALSE(has(refused.err, "could not be written")) << refused.err;
    for (const std::string& line : logs.lines) EXPECT_FALSE(has(line, "summary")) << line;
  }
  const Outcome facts = run("summary", {"--period", "week", "--date", "2026-11-24", "--facts"});
  EXPECT_EQ(facts.status, 0) << "the facts need no model";
}

TEST_F(CommandsTest, ProgressCountsTheStretchARunningRecorderIsRecording) {
  std::filesystem::create_directories(dir / "run/Velto");
  std::filesystem::create_directories(dir / "data/Velto");
  auto recorder = std::make_unique<RecorderLock>(dir / "run/Velto");
  ASSERT_TRUE(recorder->acquire());
  const Instant now = SystemClock().now();
  FileSegmentCheckpoints(dir / "data/Velto")
      .write(SegmentCheckpoint{ActivityContext{"code", "Code", {}, {}, {}, {}},
                               addSeconds(now, -120), now});

  const Outcome added = run("limits", {"add", "app:code", "1h", "--json"});
  ASSERT_EQ(added.status, 0) << added.err;
  EXPECT_GT(added.document()["spentToday"].get<double>(), 0);
  EXPECT_EQ(added.document()["subjectName"], "Code") << "named as it is being recorded";
  const Outcome deleted = run("delete", {"--date", "2020-01-06"});
  EXPECT_FALSE(has(deleted.err, "(Code)")) << "a stretch before the running one";
  const Outcome today = run("delete", {"--from", "00:00", "--to", "23:59"});
  EXPECT_TRUE(has(today.err, "(Code)")) << today.err;

  // A checkpoint left by a recorder that is gone counts for nothing.
  recorder.reset();
  EXPECT_EQ(run("limits", {"--json"}).document()["limits"][0]["spentToday"], 0);
}

TEST_F(CommandsTest, TheInterfaceLanguageIsTheUsersChoiceBeforeTheSessions) {
  const ScopedEnv language{"LANGUAGE", "tr"};
  const std::filesystem::path file = dir / "config/Velto/settings.json";
  EXPECT_EQ(interfaceLanguage(file), "tr") << "absent: the session's";
  ASSERT_EQ(run("settings", {"set", "uiLanguage", "de"}).status, 0);
  EXPECT_EQ(interfaceLanguage(file), "de");
  ASSERT_EQ(run("settings", {"set", "uiLanguage", "auto"}).status, 0);
  EXPECT_EQ(interfaceLanguage(file), "tr");
  const Outcome german = run("limits", {"add", "app:code", "lange"}, "de");
  EXPECT_EQ(german.err, "Keine Dauer: „lange“ (z. B. 45m, 1h30m oder 2h)\n");
}

}  // namespace
}  // namespace velto::cli
