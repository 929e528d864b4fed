// The report's first tab: the total, how it compares with the earlier period, the focus split
// bar and focus-mix sentence, time away from the computer, the shape of the period, the bars of
// its days or months, and the written-summary card.
//
// The card is shown only while "velto.aiSummaryEnabled" is on. It shows a placeholder and a
// "Generate AI summary" button until a summary is asked for (summaryRequested: nothing is written
// without a press), a working line while it is written, then the text with a footnote saying
// where it came from and a "Regenerate AI summary" button.
// Thread: main thread.
#pragma once

#include <QWidget>
#include <string>

#include "reports/usage_report.h"

class QLabel;
class QFrame;
class QPushButton;

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
  // Nothing written for the figures shown; `canGenerate`: they hold time to write about.
  void showSummaryPlaceholder(bool canGenerate);
  void showSummaryWorking();
  // A written summary and where it came from; an empty footnote for a failure's reason.
  void showSummary(const QString& text, const QString& footnote);

  QString totalText() const;
  QString comparisonText() const;
  QString focusMixText() const;
  bool summaryVisible() const;
  QString summaryText() const;
  QString summaryFootnote() const;
  QPushButton& summaryButton() const { return *summaryButton_; }
  const FocusSplitBar& focusBar() const { return *focusBar_; }
  const BarsView& bars() const { return *bars_; }

 Q_SIGNALS:
  // The card's button was pressed.
  void summaryRequested();

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
  QLabel* summaryFootnote_;
  QPushButton* summaryButton_;
};

}  // namespace velto::gui
