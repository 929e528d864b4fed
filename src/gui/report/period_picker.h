// The strip above the report: a kind or preset to show, previous / next / today, two date edits
// for a custom range, and the label of the period shown. It moves the navigator and says so;
// the window applies the navigator to the report.
// Keyboard: Alt+Left / Alt+Right step, Ctrl+T goes to today.
// Thread: main thread.
#pragma once

#include <QWidget>
#include <string>

#include "base/clock.h"
#include "gui/report/report_period_navigator.h"

class QComboBox;
class QDateEdit;
class QLabel;
class QToolButton;
class QPushButton;

namespace velto::gui {

class PeriodPicker : public QWidget {
  Q_OBJECT
 public:
  PeriodPicker(ReportPeriodNavigator& navigator, const Calendar& calendar, const Clock& clock,
               std::string language, QWidget* parent = nullptr);

  // Brings the controls in line with the navigator and shows `label`.
  void refresh(const QString& label);
  QString label() const;

 Q_SIGNALS:
  void periodChanged();

 private:
  void chooseMode(int index);
  void dateEdited();
  QDate dateOf(Instant at) const;
  Instant instantOf(const QDate& date) const;

  ReportPeriodNavigator& navigator_;
  const Calendar& calendar_;
  const Clock& clock_;
  std::string language_;
  QComboBox* mode_;
  QToolButton* previous_;
  QToolButton* next_;
  QPushButton* today_;
  QDateEdit* from_;
  QDateEdit* to_;
  QLabel* label_;
  bool refreshing_ = false;
};

}  // namespace velto::gui
