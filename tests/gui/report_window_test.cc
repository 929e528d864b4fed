#include "gui/report/report_window.h"

#include <gtest/gtest.h>

#include "gui/scripted_services.h"

namespace velto::gui {
namespace {

TEST(ReportWindowTest, OpensOverAnEmptyStore) {
  testing::ScriptedServices scripted;
  ReportWindow window(*scripted.services);
  EXPECT_FALSE(window.windowTitle().isEmpty());
}

}  // namespace
}  // namespace velto::gui
