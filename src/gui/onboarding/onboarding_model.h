// First-start onboarding: its pages (what is recorded and where it stays, the tray, the browser
// opt-in, notifications) and the choices it writes. Shown while "velto.onboardingCompleted" is
// false; finishing (or skipping) sets it.
// Thread: main thread.
#pragma once

#include <string>
#include <vector>

namespace velto {
class ServiceSet;
}

namespace velto::gui {

struct OnboardingPage {
  std::string titleKey;
  std::string bodyKey;
};

class OnboardingModel {
 public:
  explicit OnboardingModel(ServiceSet& services) : services_(services) {}

  static bool needed(ServiceSet& services);
  static const std::vector<OnboardingPage>& pages();

  // The store file's path, shown on the first page ("memory only" when there is none).
  std::string dataFolderText() const;

  bool browserReading() const;
  void setBrowserReading(bool enabled);
  bool dailySummary() const;
  void setDailySummary(bool enabled);
  bool limitAlerts() const;
  void setLimitAlerts(bool enabled);

  void finish();

 private:
  ServiceSet& services_;
};

}  // namespace velto::gui
