#include "summaries/written_summary.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <set>
#include <thread>

#include "base/manual_scheduler.h"
#include "base/strings.h"
#include "summaries/endpoint_language_model.h"
#include "summaries/fact_writer.h"
#include "summaries/loopback_endpoint.h"
#include "summaries/summary_facts.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto {
namespace {

ContextTotal context(const std::string& bundleId, const std::string& name, double seconds,
                     std::optional<std::string> host = std::nullopt) {
  ContextTotal total;
  total.context.bundleId = bundleId;
  total.context.appName = name;
  total.context.host = std::move(host);
  total.micros = static_cast<std::int64_t>(seconds * 1e6);
  total.count = 1;
  return total;
}

// A day with two categories, seven applications (the browser with three sites), a long stretch
// in the editor and a meeting away from the computer.
UsageFigures sampleDay() {
  UsageFigures f;
  f.label = "Today";
  f.comparisonName = "yesterday by this time";
  f.totalSeconds = 5 * 3600 + 15 * 60;
  f.previousTotalSeconds = 6 * 3600;
  f.byCategory = {{"development", "Development", 3 * 3600, FocusLabel::focus},
                  {"browsing", "Browsing", 2 * 3600 + 15 * 60, FocusLabel::neutral}};
  const std::vector<std::pair<std::string, double>> apps = {
      {"Code", 7200}, {"Firefox", 5400}, {"Terminal", 3600}, {"Slack", 1200},
      {"Mail", 600},  {"Notes", 300},    {"Music", 200}};
  for (const auto& [name, seconds] : apps) {
    const std::string id = name == "Firefox" ? "firefox" : "test." + name;
    f.byApp.push_back({id, name, seconds, 1, "other"});
    if (name != "Firefox") f.contexts.push_back(context(id, name, seconds));
  }
  f.contexts.push_back(context("firefox", "Firefox", 3000, "github.com"));
  f.contexts.push_back(context("firefox", "Firefox", 1500, "docs.rs"));
  f.contexts.push_back(context("firefox", "Firefox", 900, "news.example"));
  f.shape.trackedSeconds = f.totalSeconds;
  f.shape.switchCount = 42;
  f.shape.longestFocusSeconds = 5400;
  f.shape.longestFocusName = "Code";
  f.hourly[10] = {10, 3000};
  f.hourly[14] = {14, 3300};
  f.hourly[15] = {15, 3300};
  f.offMacSeconds = 1800;
  return f;
}

TEST(SummaryFactsTest, ListsTheReportsFiguresInOrder) {
  const std::vector<std::string> lines = factLines(summaryFacts(sampleDay()), "en");
  const std::vector<std::string> expected = {
      "Period: Today",
      "Total time at the computer: 5h 15m",
      "The TOTAL is 13% less than yesterday by this time",
      "Category Development: 3h",
      "Category Browsing: 2h 15m",
      "App Code: 2h",
      "App Firefox: 1h 30m (mostly github.com, docs.rs)",
      "App Terminal: 1h",
      "App Slack: 20m",
      "App Mail: 10m",
      "Longest unbroken stretch: 1h 30m in Code",
      "Switches between apps: 42",
      "Busiest hour: 14:00",
      "Labelled as away from the computer (meetings, breaks): 30m"};
  EXPECT_EQ(lines, expected);
}

TEST(SummaryFactsTest, TotalChangeRoundsHalvesAwayFromZero) {
  struct Case {
    double current, previous;
    std::optional<long long> percent;
  };
  const Case cases[] = {{87.5, 100, -13},      {112.5, 100, 13}, {100, 100, 0},
                        {50, 0, std::nullopt}, {0, 40, -100},    {100.4, 100, 0}};
  for (const Case& c : cases) {
    EXPECT_EQ(totalChangePercent(c.current, c.previous), c.percent)
        << c.current << " against " << c.previous;
  }
}

TEST(SummaryFactsTest, ChangeLineWordsAndAbsence) {
  SummaryFacts facts;
  facts.periodLabel = "This week";
  facts.totalSeconds = 3600;
  facts.comparisonName = "last week by this point";
  facts.totalChangePercent = 0;
  EXPECT_EQ(factLines(facts, "en")[2], "The TOTAL is 0% more than last week by this point");

  // No earlier time: period and total only.
  UsageFigures figures;
  figures.label = "2026-11-20";
  figures.totalSeconds = 600;
  figures.previousTotalSeconds = 0;
  EXPECT_EQ(factLines(summaryFacts(figures), "en"),
            (std::vector<std::string>{"Period: 2026-11-20", "Total time at the computer: 10m"}));
}

TEST(SummaryFactsTest, OneDetailIsListedAlone) {
  SummaryFacts facts;
  facts.periodLabel = "Today";
  facts.apps = {{"Firefox", 60, {"github.com"}}, {"Code", 120, {}}};
  const std::vector<std::string> lines = factLines(facts, "en");
  ASSERT_GE(lines.size(), 4u);
  EXPECT_EQ(lines[2], "App Firefox: 1m (mostly github.com)");
  EXPECT_EQ(lines[3], "App Code: 2m");
}

TEST(SummaryFactsTest, PromptNumbersEveryFact) {
  EXPECT_EQ(summaryPrompt({"Period: Today", "Total time at the computer: 1h"}),
            "Facts:\n1. Period: Today\n2. Total time at the computer: 1h");
  EXPECT_EQ(summaryPrompt({}), "");
}

TEST(SummaryFactsTest, InstructionsNameTheLanguageInEnglish) {
  const std::string closing =
      ". Speak to the reader directly in the second person singular (the person whose day it "
      "is), never in the first person.";
  EXPECT_TRUE(summaryInstructions("de").ends_with("in German" + closing));
  EXPECT_TRUE(summaryInstructions("tr").ends_with("in Turkish" + closing));
  EXPECT_TRUE(summaryInstructions("xx").ends_with("in English" + closing));
  EXPECT_TRUE(summaryInstructions("en").starts_with(
      "You summarise how someone spent time on their computer, from a numbered list of facts.\n"
      "Use only the facts."));
}

// Every number and name in the sentences must come from the facts.
TEST(FactWriterTest, WritesOnlyWhatTheFactsSay) {
  for (std::string_view language : {"en", "tr", "de", "es", "fr"}) {
    SCOPED_TRACE(std::string(language));
    const SummaryFacts facts = summaryFacts(sampleDay());
    std::string factText;
    for (const std::string& line : factLines(facts, language)) factText += line + "\n";
    const GeneratedSummary summary = writeFromFacts(facts, language);
    ASSERT_GE(summary.sentences.size(), 1u);
    ASSERT_LE(summary.sentences.size(), 3u);
    std::string text;
    for (const std::string& sentence : summary.sentences) text += sentence + " ";
    const std::regex number("[0-9]+");
    for (auto it = std::sregex_iterator(text.begin(), text.end(), number);
         it != std::sregex_iterator(); ++it) {
      EXPECT_NE(factText.find(it->str()), std::string::npos) << it->str() << " in " << text;
    }
    // A percentage only for the total, the one in the facts.
    EXPECT_EQ(std::count(text.begin(), text.end(), '%'), 1) << text;
    EXPECT_NE(text.find("13"), std::string::npos);
    EXPECT_NE(text.find("Development"), std::string::npos);
    EXPECT_NE(text.find("Code"), std::string::npos);
    // Apps beyond the facts' first five never appear.
    EXPECT_EQ(text.find("Music"), std::string::npos);
  }
}

TEST(FactWriterTest, WithoutComparisonThereIsNoPercentage) {
  SummaryFacts facts;
  facts.periodLabel = "2026-11";
  facts.totalSeconds = 7200;
  facts.longestStretch = SummaryFacts::Entry{"Code", 1800, {}};
  const GeneratedSummary summary = writeFromFacts(facts, "en");
  EXPECT_EQ(summary.sentences,
            (std::vector<std::string>{"You spent 2h at the computer (2026-11).",
                                      "Your longest unbroken stretch was 30m in Code."}));
}

TEST(FactWriterTest, AnswersLaterOnTheMainThread) {
  ManualScheduler scheduler(testing::at("2026-11-20T12:00:00Z"));
  FactWriter writer(scheduler);
  std::optional<SummaryRequest> request = summaryRequest(sampleDay(), "en");
  ASSERT_TRUE(request);
  std::optional<Result<GeneratedSummary>> answer;
  writer.generate(*request, [&](Result<GeneratedSummary> a) { answer = std::move(a); });
  EXPECT_FALSE(answer) << "never from inside generate";
  scheduler.runUntilIdle();
  ASSERT_TRUE(answer && answer->ok());
  EXPECT_EQ((*answer)->sentences, writeFromFacts(request->facts, "en").sentences);
}

TEST(LoopbackEndpointTest, AcceptsOnlyAddressesOnThisComputer) {
  struct Case {
    std::string address;
    std::optional<LoopbackEndpoint> endpoint;  // none: refused
    std::string errorKey;
  };
  const Case cases[] = {
      {"http://127.0.0.1:8080", LoopbackEndpoint{"127.0.0.1", 8080, "/v1/chat/completions"}, ""},
      {"http://127.4.5.6/api/chat", LoopbackEndpoint{"127.4.5.6", 80, "/api/chat"}, ""},
      {"localhost:11434/", LoopbackEndpoint{"localhost", 11434, "/v1/chat/completions"}, ""},
      {"HTTP://LocalHost:1", LoopbackEndpoint{"LocalHost", 1, "/v1/chat/completions"}, ""},
      {"http://[::1]:9000/v1/chat/completions",
       LoopbackEndpoint{"::1", 9000, "/v1/chat/completions"}, ""},
      {"http://10.0.0.2:8080", std::nullopt, "summary.endpoint.notLoopback %@"},
      {"http://api.example.com/v1", std::nullopt, "summary.endpoint.notLoopback %@"},
      {"http://128.0.0.1", std::nullopt, "summary.endpoint.notLoopback %@"},
      {"http://[::2]:80", std::nullopt, "summary.endpoint.notLoopback %@"},
      {"http://localhost.example.com", std::nullopt, "summary.endpoint.notLoopback %@"},
      {"https://127.0.0.1", std::nullopt, "summary.endpoint.invalid %@"},
      {"http://127.0.0.1:99999", std::nullopt, "summary.endpoint.invalid %@"},
      {"http://me@127.0.0.1", std::nullopt, "summary.endpoint.invalid %@"},
      {"", std::nullopt, "summary.endpoint.invalid %@"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.address);
    Result<LoopbackEndpoint> endpoint = loopbackEndpoint(c.address, "en");
    if (c.endpoint) {
      ASSERT_TRUE(endpoint) << endpoint.error();
      EXPECT_EQ(*endpoint, *c.endpoint);
    } else {
      ASSERT_FALSE(endpoint);
      EXPECT_EQ(endpoint.error(), i18n::text("en", c.errorKey, c.address));
    }
  }
}

// One HTTP exchange on 127.0.0.1: reads a request, answers with `reply`, closes.
class OneShotServer {
 public:
  explicit OneShotServer(std::string reply) : reply_(std::move(reply)) {
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    socklen_t length = sizeof address;
    ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
    EXPECT_EQ(::listen(fd_, 1), 0);
    thread_ = std::thread([this] { serve(); });
  }
  ~OneShotServer() {
    thread_.join();
    ::close(fd_);
  }
  std::string address() const { return "http://127.0.0.1:" + std::to_string(port_); }
  // What the client sent; read after the exchange.
  std::string request;

 private:
  void serve() {
    const int client = ::accept(fd_, nullptr, nullptr);
    if (client < 0) return;
    char buffer[4096];
    while (true) {
      const size_t end = request.find("\r\n\r\n");
      if (end != std::string::npos) {
        const size_t at = request.find("Content-Length: ");
        const size_t length = at == std::string::npos ? 0 : std::stoul(request.substr(at + 16));
        if (request.size() >= end + 4 + length) break;
      }
      const ssize_t n = ::recv(client, buffer, sizeof buffer, 0);
      if (n <= 0) break;
      request.append(buffer, static_cast<size_t>(n));
    }
    ::send(client, reply_.data(), reply_.size(), MSG_NOSIGNAL);
    ::close(client);
  }

  std::string reply_;
  int fd_ = -1;
  int port_ = 0;
  std::thread thread_;
};

std::string httpReply(int status, const std::string& body, bool chunked = false) {
  std::string head =
      "HTTP/1.1 " + std::to_string(status) + " X\r\nContent-Type: application/json\r\n";
  if (!chunked) return head + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  const size_t half = body.size() / 2;
  auto chunk = [](const std::string& part) {
    char size[16];
    std::snprintf(size, sizeof size, "%zx", part.size());
    return std::string(size) + "\r\n" + part + "\r\n";
  };
  return head + "Transfer-Encoding: chunked\r\n\r\n" + chunk(body.substr(0, half)) +
         chunk(body.substr(half)) + "0\r\n\r\n";
}

std::string completion(const std::string& content) {
  return nlohmann::json{{"choices", {{{"message", {{"role", "assistant"}, {"content", content}}}}}}}
      .dump();
}

struct Exchange {
  std::vector<std::string> sentences;
  std::optional<std::string> failure;
  std::optional<std::string> notice;
  std::string request;
  std::vector<std::string> logLines;
};

Exchange exchange(const std::string& reply) {
  testing::LogCapture logs;
  OneShotServer server(reply);
  ManualScheduler scheduler(testing::at("2026-11-20T12:00:00Z"));
  auto model = std::make_unique<EndpointLanguageModel>(server.address(), scheduler, 10);
  WrittenSummary summary(*model);
  summary.generate(sampleDay(), "en");
  EXPECT_TRUE(summary.working());
  model.reset();  // waits for the worker; its answer is posted
  EXPECT_TRUE(summary.working());
  scheduler.runUntilIdle();
  EXPECT_FALSE(summary.working());
  return {summary.sentences(), summary.failure(), summary.notice(), server.request, logs.lines};
}

TEST(EndpointLanguageModelTest, AsksForTheStructuredSummaryAndKeepsItsSentences) {
  const std::string content =
      R"({"sentences": ["You spent 5h 15m at the computer.", "  ", "Mostly Code."]})";
  for (bool chunked : {false, true}) {
    SCOPED_TRACE(chunked ? "chunked" : "plain");
    const Exchange result = exchange(httpReply(200, completion(content), chunked));
    EXPECT_EQ(result.sentences,
              (std::vector<std::string>{"You spent 5h 15m at the computer.", "Mostly Code."}));
    EXPECT_FALSE(result.failure);
    ASSERT_TRUE(result.request.starts_with("POST /v1/chat/completions HTTP/1.1\r\n"));
    const nlohmann::json body =
        nlohmann::json::parse(result.request.substr(result.request.find("\r\n\r\n") + 4));
    EXPECT_EQ(body["messages"][0]["role"], "system");
    EXPECT_EQ(body["messages"][0]["content"], summaryInstructions("en"));
    EXPECT_EQ(body["messages"][1]["role"], "user");
    EXPECT_TRUE(body["messages"][1]["content"].get<std::string>().starts_with(
        "Facts:\n1. Period: Today\n2. Total time at the computer: 5h 15m\n"));
    EXPECT_EQ(body["response_format"]["type"], "json_schema");
    const nlohmann::json& schema = body["response_format"]["json_schema"]["schema"];
    EXPECT_EQ(schema["required"], nlohmann::json::array({"sentences"}));
    EXPECT_EQ(schema["properties"]["sentences"]["description"],
              "One to three short sentences about the period, using only the given facts.");
    EXPECT_FALSE(body.contains("temperature"));
  }
}

TEST(EndpointLanguageModelTest, FailuresLeaveNoSentencesAndAreLogged) {
  const std::string replies[] = {
      httpReply(500, R"({"error": "model not loaded"})"),
      httpReply(200, completion("Here is your summary: you did well")),
      httpReply(200, R"({"choices": []})"),
      "garbage",
  };
  for (const std::string& reply : replies) {
    SCOPED_TRACE(reply);
    const Exchange result = exchange(reply);
    EXPECT_TRUE(result.sentences.empty());
    ASSERT_TRUE(result.failure);
    EXPECT_EQ(result.logLines,
              (std::vector<std::string>{"Day summary not generated: " + *result.failure}));
  }
}

TEST(EndpointLanguageModelTest, AnAnswerWithoutSentencesSaysSo) {
  const Exchange result = exchange(httpReply(200, completion(R"({"sentences": []})")));
  EXPECT_TRUE(result.sentences.empty());
  EXPECT_FALSE(result.failure);
  EXPECT_EQ(result.notice, "Nothing worth summarising came back. Try again later in the day.");
}

TEST(EndpointLanguageModelTest, RefusesAnAddressOffThisComputerWithoutConnecting) {
  testing::LogCapture logs;
  ManualScheduler scheduler(testing::at("2026-11-20T12:00:00Z"));
  EndpointLanguageModel model("http://192.0.2.10:8080", scheduler, 10);
  WrittenSummary summary(model);
  summary.generate(sampleDay(), "en");
  scheduler.runUntilIdle();
  EXPECT_TRUE(summary.sentences().empty());
  const std::string refusal =
      i18n::text("en", "summary.endpoint.notLoopback %@", "http://192.0.2.10:8080");
  EXPECT_EQ(summary.failure(), refusal);
  EXPECT_EQ(logs.lines, (std::vector<std::string>{"Day summary not generated: " + refusal}));
}

TEST(WrittenSummaryTest, AnAnswerToASupersededRequestIsDropped) {
  ManualScheduler scheduler(testing::at("2026-11-20T12:00:00Z"));
  FactWriter writer(scheduler);
  WrittenSummary summary(writer);
  UsageFigures first = sampleDay();
  first.label = "First";
  summary.generate(first, "en");
  summary.generate(sampleDay(), "en");
  int changes = 0;
  summary.onChange = [&] { ++changes; };
  scheduler.runUntilIdle();
  EXPECT_EQ(changes, 1);
  ASSERT_FALSE(summary.sentences().empty());
  EXPECT_NE(summary.sentences()[0].find("(Today)"), std::string::npos);
}

TEST(WrittenSummaryTest, TheSettingChoosesTheModel) {
  testing::TempDir dir;
  NoticeBus notices;
  Settings settings(dir / "settings.json", notices);
  ManualScheduler scheduler(testing::at("2026-11-20T12:00:00Z"));
  const auto model = [&] {
    Result<std::unique_ptr<LanguageModel>> chosen = languageModelFor(settings, scheduler, "en");
    return chosen ? std::move(chosen).value() : nullptr;
  };
  EXPECT_NE(dynamic_cast<FactWriter*>(model().get()), nullptr);
  settings.setAiModelEndpoint("   ");
  EXPECT_FALSE(settings.aiModelEndpoint());
  EXPECT_NE(dynamic_cast<FactWriter*>(model().get()), nullptr);
  settings.setAiModelEndpoint("http://127.0.0.1:8080");
  EXPECT_EQ(settings.aiModelEndpoint(), "http://127.0.0.1:8080");
  EXPECT_NE(dynamic_cast<EndpointLanguageModel*>(model().get()), nullptr);
  // An address off this computer gets no model at all: the refusal is the answer.
  settings.setAiModelEndpoint("http://example.com:8080");
  const Result<std::unique_ptr<LanguageModel>> refused =
      languageModelFor(settings, scheduler, "en");
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error(),
            "The model address http://example.com:8080 is not on this computer. Only loopback "
            "addresses (localhost, 127.0.0.0/8, ::1) are allowed, so nothing was sent.");
}

}  // namespace
}  // namespace velto
