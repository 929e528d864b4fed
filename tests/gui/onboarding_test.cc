#include <gtest/gtest.h>

#include "gui/onboarding/onboarding_model.h"
#include "gui/onboarding/onboarding_window.h"
#include "gui/scripted_services.h"

namespace velto::gui {
namespace {

TEST(OnboardingTest, ShownUntilFinishedAndWritesItsChoices) {
  velto::testing::ScriptedServices scripted;
  ServiceSet& services = *scripted.services;
  EXPECT_TRUE(OnboardingModel::needed(services));
  OnboardingModel model(services);
  EXPECT_NE(model.dataFolderText().find("Velto.sqlite"), std::string::npos);
  model.setBrowserReading(true);
  model.setDailySummary(true);
  EXPECT_TRUE(services.settings().accessibilityRequested());
  EXPECT_TRUE(services.settings().dailySummaryEnabled());
  EXPECT_TRUE(OnboardingModel::needed(services)) << "choices alone do not finish it";
  model.finish();
  EXPECT_FALSE(OnboardingModel::needed(services));
  EXPECT_TRUE(services.settings().onboardingCompleted());
}

TEST(OnboardingTest, ClosingTheWindowAnyWayCompletesIt) {
  for (bool skip : {false, true}) {
    velto::testing::ScriptedServices scripted;
    OnboardingWindow window(*scripted.services);
    EXPECT_EQ(window.windowTitle(), "Welcome to Velto");
    if (skip) {
      window.reject();
    } else {
      window.accept();
    }
    EXPECT_TRUE(scripted.services->settings().onboardingCompleted());
  }
}

}  // namespace
}  // namespace velto::gui
