// The first-start window: one page per OnboardingModel page, with Back / Next / Done. Closing
// it any way marks onboarding done, so it is shown once.
// Thread: GUI thread.
#pragma once

#include <QDialog>

#include "gui/onboarding/onboarding_model.h"

class QStackedWidget;
class QPushButton;

namespace velto::gui {

class OnboardingWindow : public QDialog {
  Q_OBJECT
 public:
  explicit OnboardingWindow(ServiceSet& services, QWidget* parent = nullptr);

  OnboardingModel& model() { return model_; }
  void showPage(int index);

 protected:
  void done(int result) override;

 private:
  OnboardingModel model_;
  std::string language_;
  QStackedWidget* pages_ = nullptr;
  QPushButton* back_ = nullptr;
  QPushButton* next_ = nullptr;
};

}  // namespace velto::gui
