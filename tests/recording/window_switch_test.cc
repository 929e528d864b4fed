// Windows of one application: every switch between them and every rename of the window in front
// is a row boundary at that instant, with that window's title.
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace velto {
namespace {

using testing::app;
using testing::at;
using testing::EngineTest;
using testing::segment;
using Reason = SegmentEndReason;

RunningApplication window(const std::string& bundleId, int pid, std::uint64_t windowId) {
  RunningApplication application = testing::running(bundleId, pid);
  application.windowId = windowId;
  return application;
}

class WindowSwitchTest : public EngineTest {
 protected:
  // Brings window `id` of `pid` to the front at `iso`, with the title it has then.
  void focus(const std::string& iso, int pid, std::uint64_t id) {
    advanceTo(iso);
    front.activate(window("xterm", pid, id));
  }
  void rename(const std::string& iso, std::uint64_t id, const std::string& title) {
    advanceTo(iso);
    titles.setWindowTitle(id, title);
  }
  void finish(const std::string& iso) {
    advanceTo(iso);
    engine->stop();
  }
};

// Two terminals in two processes, and two windows of a third process; switches every few
// seconds and a rename in each, as in a real session.
TEST_F(WindowSwitchTest, EverySwitchAndRenameIsABoundaryWithThatWindowsTitle) {
  titles.setWindowTitle(1, "make");
  titles.setWindowTitle(2, "notes");
  titles.setWindowTitle(3, "top");
  titles.setWindowTitle(4, "top");  // the same title as its sibling
  front.setSilently(window("xterm", 100, 1));
  engine->start();
  focus("2026-11-21T09:00:05Z", 200, 2);
  focus("2026-11-21T09:00:09Z", 100, 1);
  rename("2026-11-21T09:00:20Z", 1, "make test");  // in front: a boundary 0.4 s later
  rename("2026-11-21T09:00:25Z", 2, "notes (2)");  // behind: no boundary
  focus("2026-11-21T09:00:30Z", 200, 2);
  focus("2026-11-21T09:00:36Z", 300, 3);
  focus("2026-11-21T09:00:40Z", 300, 4);  // same process, same title: still a boundary
  rename("2026-11-21T09:00:50Z", 4, "htop");
  focus("2026-11-21T09:00:58Z", 100, 1);
  finish("2026-11-21T09:01:05Z");

  EXPECT_EQ(recorded(), (std::vector<RecordedSegment>{
                            segment(app("xterm", "make"), "2026-11-21T09:00:00Z",
                                    "2026-11-21T09:00:05Z", Reason::focusChange),
                            segment(app("xterm", "notes"), "2026-11-21T09:00:05Z",
                                    "2026-11-21T09:00:09Z", Reason::focusChange),
                            segment(app("xterm", "make"), "2026-11-21T09:00:09Z",
                                    "2026-11-21T09:00:20.400Z", Reason::titleChange),
                            segment(app("xterm", "make test"), "2026-11-21T09:00:20.400Z",
                                    "2026-11-21T09:00:30Z", Reason::focusChange),
                            segment(app("xterm", "notes (2)"), "2026-11-21T09:00:30Z",
                                    "2026-11-21T09:00:36Z", Reason::focusChange),
                            segment(app("xterm", "top"), "2026-11-21T09:00:36Z",
                                    "2026-11-21T09:00:40Z", Reason::focusChange),
                            segment(app("xterm", "top"), "2026-11-21T09:00:40Z",
                                    "2026-11-21T09:00:50.400Z", Reason::titleChange),
                            segment(app("xterm", "htop"), "2026-11-21T09:00:50.400Z",
                                    "2026-11-21T09:00:58Z", Reason::focusChange),
                            segment(app("xterm", "make test"), "2026-11-21T09:00:58Z",
                                    "2026-11-21T09:01:05Z", Reason::appQuit),
                        }));
}

// Within the first seconds of a window, a switch to another one must not refine the first
// window's row with the second window's context.
TEST_F(WindowSwitchTest, ASwitchInTheFirstSecondsIsNoRefinement) {
  titles.setWindowTitle(1, "first");
  titles.setWindowTitle(2, "second");
  front.setSilently(window("xterm", 100, 1));
  engine->start();
  focus("2026-11-21T09:00:02Z", 100, 2);  // within the refine window of the first
  focus("2026-11-21T09:00:10Z", 100, 1);
  finish("2026-11-21T09:00:20Z");
  // The first window's two seconds are below the minimum and dropped, never given to another.
  EXPECT_EQ(recorded(), (std::vector<RecordedSegment>{
                            segment(app("xterm", "second"), "2026-11-21T09:00:02Z",
                                    "2026-11-21T09:00:10Z", Reason::focusChange),
                            segment(app("xterm", "first"), "2026-11-21T09:00:10Z",
                                    "2026-11-21T09:00:20Z", Reason::appQuit),
                        }));
}

// Titles are followed on the window in front: a window behind that renames itself must not
// start a row, and the window in front must be observed whatever process owns it.
TEST_F(WindowSwitchTest, TitlesAreObservedOnTheWindowInFront) {
  titles.setWindowTitle(1, "a");
  titles.setWindowTitle(2, "b");
  front.setSilently(window("xterm", 100, 1));
  engine->start();
  EXPECT_EQ(titles.observedPid(), 100);
  focus("2026-11-21T09:00:10Z", 200, 2);
  EXPECT_EQ(titles.observedPid(), 200);
  const size_t rows = recorded().size();
  rename("2026-11-21T09:00:20Z", 1, "a2");
  advanceTo("2026-11-21T09:00:21Z");
  EXPECT_EQ(recorded().size(), rows);  // the window behind starts no row
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->context.windowTitle, "b");
  rename("2026-11-21T09:00:30Z", 2, "b2");
  advanceTo("2026-11-21T09:00:30.500Z");  // the debounce, well before the 10 s refresh
  EXPECT_EQ(recorded().size(), rows + 1);
  ASSERT_TRUE(engine->recorder().openSegment());
  EXPECT_EQ(engine->recorder().openSegment()->context.windowTitle, "b2");
}

// A front window that goes away leaves nothing in front: its row ends at that instant.
TEST_F(WindowSwitchTest, AClosedFrontWindowEndsItsRow) {
  titles.setWindowTitle(1, "a");
  front.setSilently(window("xterm", 100, 1));
  engine->start();
  advanceTo("2026-11-21T09:00:10Z");
  front.activate(std::nullopt);
  advanceTo("2026-11-21T09:00:30Z");
  EXPECT_EQ(recorded(), (std::vector<RecordedSegment>{
                            segment(app("xterm", "a"), "2026-11-21T09:00:00Z",
                                    "2026-11-21T09:00:10Z", Reason::focusChange),
                        }));
  EXPECT_FALSE(engine->recorder().openSegment());
}

}  // namespace
}  // namespace velto
