#include "gui/report/report_window.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "gui/scripted_services.h"
#include "gui/shell/window_state.h"

namespace velto::gui {
namespace {

TEST(ReportWindowTest, OpensOverAnEmptyStore) {
  testing::ScriptedServices scripted;
  ReportWindow window(*scripted.services);
  EXPECT_FALSE(window.windowTitle().isEmpty());
}

TEST(ReportWindowTest, KeepsItsTabAndGeometryInTheShellsWindowState) {
  testing::ScriptedServices scripted;
  const std::filesystem::path data = scripted.dir.path() / "data";
  {
    WindowState state(data);
    ReportWindow window(*scripted.services, &state);
    window.showTab(ReportWindow::Tab::trends);
    window.resize(1000, 700);
    window.show();
    window.close();
  }
  EXPECT_TRUE(std::filesystem::exists(data / "window-state.json"));
  EXPECT_FALSE(std::filesystem::exists(data / "report-window.json")) << "one state file";
  WindowState state(data);
  EXPECT_EQ(state.number(QStringLiteral("report"), QStringLiteral("tab")),
            static_cast<int>(ReportWindow::Tab::trends));
  ReportWindow reopened(*scripted.services, &state);
  EXPECT_EQ(reopened.currentTab(), ReportWindow::Tab::trends);
  EXPECT_EQ(reopened.size(), QSize(1000, 700));
  // Without a state handed in, the window reads the same file over the store's folder.
  ReportWindow alone(*scripted.services);
  EXPECT_EQ(alone.currentTab(), ReportWindow::Tab::trends);
}

}  // namespace
}  // namespace velto::gui
