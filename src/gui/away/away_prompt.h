// The away prompt window for one offered stretch; thin over AwayPromptModel. Closes itself
// after an answer; closing it otherwise counts as "Not now".
// Thread: GUI thread.
#pragma once

#include <QDialog>

#include "gui/away/away_prompt_model.h"

class QComboBox;
class QLineEdit;

namespace velto::gui {

class AwayPrompt : public QDialog {
  Q_OBJECT
 public:
  AwayPrompt(ServiceSet& services, AwayGap gap, QWidget* parent = nullptr);

  AwayPromptModel& model() { return model_; }
  void reject() override;

 private:
  void after(const Status& status);

  AwayPromptModel model_;
  std::string language_;
  QComboBox* otherApps_ = nullptr;
  QLineEdit* label_ = nullptr;
};

}  // namespace velto::gui
