// The report's first tab: the total, how it compares with the earlier period, the focus split
// bar and focus-mix sentence, time away from the computer, the shape of the period, the bars of
// its days or months, and the written-summary card.
//
// The card is shown only while "velto.aiSummaryEnabled" is on; it shows a placeholder until a
// summary text is handed in through setSummaryText.
// Thread: main thread.
#pragma once

#include <QWidget>
#include <string>

#include "reports/usage_report.h"

class QLabel;
class QFrame;

namespace velto::gui {

class BarsView;
class BucketsModel;
class FocusSplitBar;

class OverviewPanel : public QWidget {
  Q_OBJECT
 public:
  OverviewPanel(std::string language, BucketsModel& buckets, QWidget* parent = nullptr);

  void setFigures(const UsageFigures& figures);
  void setSummaryVisible(bool visible);
  // The written summary of the figures shown; empty puts the placeholder back.
  void setSummaryText(const QString& text);

  QString totalText() const;
  QString comparisonText() const;
  QString focusMixText() const;
  bool summaryVisible() const;
  QString summaryText() const;
  const FocusSplitBar& focusBar() const { return *focusBar_; }
  const BarsView& bars() const { return *bars_; }

 private:
  std::string language_;
  QLabel* total_;
  QLabel* comparison_;
  FocusSplitBar* focusBar_;
  QLabel* focusLegend_;  // the bar's description, in words for everyone
  QLabel* focusMix_;
  QLabel* offComputer_;
  QLabel* shape_;
  BarsView* bars_;
  QFrame* summaryCard_;
  QLabel* summary_;
};

}  // namespace velto::gui
