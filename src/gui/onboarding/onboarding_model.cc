#include "gui/onboarding/onboarding_model.h"

#include "app/service_set.h"
#include "base/strings.h"

namespace velto::gui {

bool OnboardingModel::needed(ServiceSet& services) {
  return !services.settings().onboardingCompleted();
}

const std::vector<OnboardingPage>& OnboardingModel::pages() {
  static const std::vector<OnboardingPage> kPages = {
      {"onboarding.recorded.title", "onboarding.recorded.body %@"},
      {"onboarding.tray.title", "onboarding.tray.body"},
      {"onboarding.browser.title", "onboarding.browser.body"},
      {"onboarding.notifications.title", "onboarding.notifications.body"},
  };
  return kPages;
}

std::string OnboardingModel::dataFolderText() const {
  if (const auto& file = services_.persistence().file()) return file->string();
  return i18n::text(services_.language(), "onboarding.memoryOnly");
}

bool OnboardingModel::browserReading() const {
  return services_.settings().accessibilityRequested();
}

void OnboardingModel::setBrowserReading(bool enabled) {
  services_.settings().setAccessibilityRequested(enabled);
}

bool OnboardingModel::dailySummary() const {
  return services_.settings().dailySummaryEnabled();
}

void OnboardingModel::setDailySummary(bool enabled) {
  services_.settings().setDailySummaryEnabled(enabled);
}

bool OnboardingModel::limitAlerts() const {
  return services_.settings().limitAlertsEnabled();
}

void OnboardingModel::setLimitAlerts(bool enabled) {
  services_.settings().setLimitAlertsEnabled(enabled);
}

void OnboardingModel::finish() {
  services_.settings().setOnboardingCompleted(true);
}

}  // namespace velto::gui
