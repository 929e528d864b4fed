#include "gui/report/report_window.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "gui/scripted_services.h"

namespace velto::gui {
namespace {

TEST(ReportWindowTest, OpensOverAnEmptyStore) {
  testing::ScriptedServices scripted;
  ReportWindow window(*scripted.services);
  EXPECT_FALSE(window.windowTitle().isEmpty());
}

TEST(ReportWindowTest, RemembersItsTabInTheDataFolder) {
  testing::ScriptedServices scripted;
  {
    ReportWindow window(*scripted.services);
    window.showTab(ReportWindow::Tab::trends);
    window.close();
  }
  EXPECT_TRUE(std::filesystem::exists(scripted.dir.path() / "data" / "report-window.json"));
  ReportWindow reopened(*scripted.services);
  EXPECT_EQ(reopened.currentTab(), ReportWindow::Tab::trends);
}

}  // namespace
}  // namespace velto::gui
