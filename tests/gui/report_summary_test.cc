// The report's written-summary card wired to the summary engine over a filled store.
#include <gtest/gtest.h>

#include <QPushButton>

#include "base/strings.h"
#include "gui/report/overview_panel.h"
#include "gui/report/report_summary_writer.h"
#include "gui/report_test_fixture.h"
#include "summaries/fact_writer.h"
#include "summaries/summary_facts.h"

namespace velto::gui {
namespace {

class ReportSummaryTest : public testing::ReportWindowFixture {
 protected:
  void SetUp() override { window->setSummaryWriter(reportSummaryWriter(store())); }

  // The facts of the figures shown, with the details the report lists under each application.
  SummaryFacts shownFacts() {
    return summaryFacts(window->report().figures(), [this](const std::string& bundleId) {
      return window->report().detailRows(bundleId);
    });
  }
};

TEST_F(ReportSummaryTest, TheCardGetsTheBuiltInWritersSentences) {
  const QString placeholder = window->overview().summaryText();
  store().settings().setAiSummaryEnabled(true);
  ASSERT_TRUE(window->overview().summaryVisible());
  window->writeSummary();
  EXPECT_EQ(window->overview().summaryText(), "Writing the summary…");
  EXPECT_FALSE(window->overview().summaryButton().isEnabled()) << "one request at a time";
  scripted.scheduler.runUntilIdle();  // the writer answers through the scheduler

  const GeneratedSummary expected = writeFromFacts(shownFacts(), "en");
  ASSERT_FALSE(expected.sentences.empty());
  std::string joined;
  for (const std::string& sentence : expected.sentences) {
    joined += (joined.empty() ? "" : " ") + sentence;
  }
  EXPECT_EQ(window->overview().summaryText().toStdString(), joined);
  EXPECT_NE(window->overview().summaryText(), placeholder);
  EXPECT_TRUE(window->overview().summaryText().contains("Code")) << "the top application";

  // Another period is written afresh, from its own figures.
  window->showPeriod(PeriodKind::week, store().clock().now());
  window->writeSummary();
  scripted.scheduler.runUntilIdle();
  const GeneratedSummary week = writeFromFacts(shownFacts(), "en");
  ASSERT_FALSE(week.sentences.empty());
  EXPECT_TRUE(
      window->overview().summaryText().startsWith(QString::fromStdString(week.sentences[0])));
}

TEST_F(ReportSummaryTest, TheFactsSayWhatEachAppWasMostlyUsedForInEveryPeriod) {
  std::vector<std::string> lines;
  window->setSummaryWriter([&](const UsageFigures& figures, const AppDetailSource& details,
                               std::function<void(ReportWindow::SummaryAnswer)> done) {
    lines = factLines(summaryFacts(figures, details), "en");
    done({});
  });
  store().settings().setAiSummaryEnabled(true);
  for (PeriodKind kind : {PeriodKind::day, PeriodKind::week, PeriodKind::month}) {
    SCOPED_TRACE(static_cast<int>(kind));
    window->showPeriod(kind, store().clock().now());
    lines.clear();
    window->writeSummary();
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "App Firefox: 40m (mostly example.com, news.example.org)"),
              lines.end())
        << ::testing::PrintToString(lines);
  }
}

TEST_F(ReportSummaryTest, AnAddressOffThisComputerIsRefusedInTheCard) {
  const std::string address = "http://192.0.2.7:8080/v1/chat/completions";
  store().settings().setAiModelEndpoint(address);
  store().settings().setAiSummaryEnabled(true);
  window->writeSummary();
  scripted.scheduler.runUntilIdle();
  EXPECT_EQ(window->overview().summaryText().toStdString(),
            i18n::text("en", "summary.endpoint.notLoopback %@", address));
  EXPECT_EQ(window->overview().summaryFootnote(), "") << "nothing was written";
}

TEST_F(ReportSummaryTest, NothingIsWrittenWhileTheCardIsOff) {
  const QString placeholder = window->overview().summaryText();
  scripted.scheduler.runUntilIdle();
  EXPECT_FALSE(window->overview().summaryVisible());
  EXPECT_EQ(window->overview().summaryText(), placeholder);
}

}  // namespace
}  // namespace velto::gui
