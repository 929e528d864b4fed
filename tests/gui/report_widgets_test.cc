// The period picker and the timeline strip, driven the way a user drives them.
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDateEdit>
#include <QKeyEvent>
#include <QToolButton>

#include "gui/report/overview_text.h"
#include "gui/report/period_picker.h"
#include "gui/report/timeline_strip.h"
#include "gui/report_test_fixture.h"

namespace velto::gui {
namespace {

using testing::ReportWindowFixture;
using velto::testing::at;

class ReportWidgetsTest : public ReportWindowFixture {
 protected:
  QToolButton* arrow(Qt::ArrowType type) {
    for (QToolButton* button : window->picker().findChildren<QToolButton*>()) {
      if (button->arrowType() == type) return button;
    }
    return nullptr;
  }
};

TEST_F(ReportWidgetsTest, ThePickerMovesTheReportAndStopsAtToday) {
  PeriodPicker& picker = window->picker();
  auto* mode = picker.findChild<QComboBox*>();
  ASSERT_TRUE(mode);
  EXPECT_EQ(picker.label(), "Today");
  EXPECT_FALSE(arrow(Qt::RightArrow)->isEnabled());

  arrow(Qt::LeftArrow)->click();
  EXPECT_EQ(picker.label(), "2026-11-20");
  EXPECT_EQ(window->report().figures().totalSeconds, 0);
  EXPECT_TRUE(arrow(Qt::RightArrow)->isEnabled());

  mode->setCurrentIndex(mode->findText("Last 7 days"));
  EXPECT_EQ(window->navigator().mode(), ReportPeriodNavigator::Mode::preset);
  EXPECT_EQ(picker.label(), "2026-11-15 \u2013 2026-11-21");
  EXPECT_EQ(window->report().figures().totalSeconds, 6600);

  mode->setCurrentIndex(mode->findText("Custom range"));
  auto edits = picker.findChildren<QDateEdit*>();
  ASSERT_EQ(edits.size(), 2);
  EXPECT_FALSE(edits[0]->isHidden());
  edits[0]->setDate(QDate(2026, 11, 21));
  EXPECT_EQ(picker.label(), "2026-11-21");
  EXPECT_EQ(window->report().figures().totalSeconds, 6600);

  mode->setCurrentIndex(mode->findText("Month"));
  EXPECT_EQ(picker.label(), "This month");
  EXPECT_TRUE(edits[0]->isHidden());
}

TEST_F(ReportWidgetsTest, TodayMovesOnAtMidnightAndThePickerFollows) {
  scripted.scheduler.advanceTo(at("2026-11-21T23:30:00Z"));  // 00:30 on Sunday in Berlin
  EXPECT_EQ(window->picker().label(), "Today");
  EXPECT_EQ(store().calendar().dayKey(window->navigator().anchor()), "2026-11-22");
  EXPECT_EQ(window->report().figures().totalSeconds, 0);
  arrow(Qt::LeftArrow)->click();
  EXPECT_EQ(window->picker().label(), "2026-11-21");
  EXPECT_EQ(window->report().figures().totalSeconds, 6600);
}

TEST_F(ReportWidgetsTest, TheTimelineFindsBlocksByPositionAndKeyboard) {
  TimelineStrip strip(store().calendar(), "en");
  const std::vector<TimelineBlock> blocks = window->report().figures().blocks;
  ASSERT_GE(blocks.size(), 4u);
  // 08:00 to 10:00 local over 400 pixels (4-pixel margins): 200 pixels an hour.
  strip.setBlocks(blocks, DateInterval{at("2026-11-21T07:00:00Z"), at("2026-11-21T09:00:00Z")}, {});
  strip.resize(408, 72);
  EXPECT_EQ(strip.blockAt(10), 0u);
  EXPECT_EQ(strip.blockAt(250), 1u);  // 09:14
  EXPECT_EQ(strip.blockAt(320), 2u);  // 09:35
  EXPECT_EQ(strip.blockAt(360), 3u);  // 09:47
  EXPECT_FALSE(strip.blockAt(380));   // 09:53: nothing recorded
  EXPECT_EQ(strip.blockText(blocks[1]), "Firefox \u2014 example.com, 09:00\u201309:30 (30m)");

  std::vector<int> requested;
  QObject::connect(&strip, &TimelineStrip::blockMenuRequested,
                   [&](int block, QPoint) { requested.push_back(block); });
  QKeyEvent right(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
  QApplication::sendEvent(&strip, &right);
  QApplication::sendEvent(&strip, &right);
  QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(0, 0), QPoint(0, 0));
  QApplication::sendEvent(&strip, &menuKey);
  QContextMenuEvent click(QContextMenuEvent::Mouse, QPoint(360, 30), QPoint(360, 30));
  QApplication::sendEvent(&strip, &click);
  EXPECT_EQ(requested, (std::vector<int>{1, 3}));
}

TEST(OverviewTextTest, ComparisonSentences) {
  struct Case {
    double total;
    double previous;
    const char* expected;
  };
  const Case cases[] = {
      {6600, 0, "Nothing was recorded in the period before this one."},
      {6600, 6570, "About the same as the day before."},
      {6600, 1200, "1h 30m more than the day before."},
      {1200, 6600, "1h 30m less than the day before."},
  };
  for (const Case& c : cases) {
    UsageFigures figures;
    figures.totalSeconds = c.total;
    figures.previousTotalSeconds = c.previous;
    figures.comparisonName = "the day before";
    EXPECT_EQ(comparisonSentence(figures, "en"), c.expected);
  }
  EXPECT_EQ(shapeSentence(ActivityShape{}, "en"), "");
  ActivityShape shape{4200, 6600, 3, 3600, "Code", std::nullopt, std::nullopt};
  EXPECT_EQ(shapeSentence(shape, "en"), "Longest stretch: Code, 1h. Switches between apps: 3.");
}

}  // namespace
}  // namespace velto::gui
