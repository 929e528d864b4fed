#include "gui/report/overview_panel.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/report/buckets_model.h"
#include "gui/report/chart_views.h"
#include "gui/report/overview_text.h"
#include "gui/report/report_text.h"

namespace velto::gui {

namespace {

QLabel* sentence(QWidget* parent) {
  auto* label = new QLabel(parent);
  label->setWordWrap(true);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  return label;
}

}  // namespace

OverviewPanel::OverviewPanel(std::string language, BucketsModel& buckets, QWidget* parent)
    : QWidget(parent), language_(std::move(language)) {
  auto* layout = new QVBoxLayout(this);
  total_ = new QLabel(this);
  QFont big = total_->font();
  big.setPointSizeF(big.pointSizeF() * 2);
  big.setBold(true);
  total_->setFont(big);
  total_->setAccessibleName(uiText(language_, "main.overview.total.accessibleName"));
  layout->addWidget(total_);
  comparison_ = sentence(this);
  layout->addWidget(comparison_);

  auto* focusTitle = new QLabel(uiText(language_, "main.overview.focusSplit.title"), this);
  focusTitle->setStyleSheet(QStringLiteral("font-weight: bold"));
  layout->addSpacing(8);
  layout->addWidget(focusTitle);
  focusBar_ = new FocusSplitBar(language_, this);
  layout->addWidget(focusBar_);
  focusLegend_ = sentence(this);
  layout->addWidget(focusLegend_);
  focusMix_ = sentence(this);
  layout->addWidget(focusMix_);
  offComputer_ = sentence(this);
  layout->addWidget(offComputer_);
  shape_ = sentence(this);
  layout->addWidget(shape_);

  layout->addSpacing(8);
  bars_ = new BarsView(buckets, this);
  bars_->setAccessibleName(uiText(language_, "main.bars.accessibleName"));
  bars_->setMinimumHeight(180);
  bars_->setMaximumHeight(420);
  layout->addWidget(bars_, 3);

  summaryCard_ = new QFrame(this);
  summaryCard_->setFrameShape(QFrame::StyledPanel);
  summaryCard_->setAccessibleName(uiText(language_, "main.summary.title"));
  auto* card = new QVBoxLayout(summaryCard_);
  auto* heading = new QHBoxLayout;
  auto* cardTitle = new QLabel(uiText(language_, "main.summary.title"), summaryCard_);
  cardTitle->setStyleSheet(QStringLiteral("font-weight: bold"));
  heading->addWidget(cardTitle, 1);
  summaryButton_ = new QPushButton(summaryCard_);
  connect(summaryButton_, &QPushButton::clicked, this, &OverviewPanel::summaryRequested);
  heading->addWidget(summaryButton_);
  card->addLayout(heading);
  summary_ = sentence(summaryCard_);
  card->addWidget(summary_);
  summaryFootnote_ = sentence(summaryCard_);
  summaryFootnote_->setForegroundRole(QPalette::PlaceholderText);
  QFont small = summaryFootnote_->font();
  small.setPointSizeF(small.pointSizeF() * 0.9);
  summaryFootnote_->setFont(small);
  card->addWidget(summaryFootnote_);
  layout->addWidget(summaryCard_);
  showSummaryPlaceholder(false);
  summaryCard_->setVisible(false);
  layout->addStretch(1);
}

void OverviewPanel::setFigures(const UsageFigures& f) {
  total_->setText(durationText(language_, f.totalSeconds));
  comparison_->setText(qs(comparisonSentence(f, language_)));
  focusBar_->setSplit(f.focusSplit);
  focusLegend_->setText(focusBar_->describe());
  focusMix_->setText(f.focusMixText ? qs(*f.focusMixText) : QString());
  focusMix_->setVisible(f.focusMixText.has_value());
  offComputer_->setText(f.offMacSeconds > 0 ? uiText(language_, "main.overview.offComputer %@",
                                                     utf8(durationText(language_, f.offMacSeconds)))
                                            : QString());
  offComputer_->setVisible(f.offMacSeconds > 0);
  shape_->setText(qs(shapeSentence(f.shape, language_)));
  bars_->setVisible(f.period.kind != PeriodKind::day);
}

void OverviewPanel::setSummaryVisible(bool visible) {
  summaryCard_->setVisible(visible);
}

void OverviewPanel::showSummaryPlaceholder(bool canGenerate) {
  summary_->setText(uiText(language_, "main.summary.placeholder"));
  summaryFootnote_->clear();
  summaryFootnote_->hide();
  summaryButton_->setText(uiText(language_, "main.summary.generate"));
  summaryButton_->setEnabled(canGenerate);
}

void OverviewPanel::showSummaryWorking() {
  summary_->setText(uiText(language_, "main.summary.working"));
  summaryFootnote_->clear();
  summaryFootnote_->hide();
  summaryButton_->setEnabled(false);
}

void OverviewPanel::showSummary(const QString& text, const QString& footnote) {
  summary_->setText(text);
  summaryFootnote_->setText(footnote);
  summaryFootnote_->setVisible(!footnote.isEmpty());
  summaryButton_->setText(uiText(language_, "main.summary.regenerate"));
  summaryButton_->setEnabled(true);
}

QString OverviewPanel::summaryFootnote() const {
  return summaryFootnote_->text();
}

QString OverviewPanel::totalText() const {
  return total_->text();
}

QString OverviewPanel::comparisonText() const {
  return comparison_->text();
}

QString OverviewPanel::focusMixText() const {
  return focusMix_->text();
}

QString OverviewPanel::summaryText() const {
  return summary_->text();
}

bool OverviewPanel::summaryVisible() const {
  return !summaryCard_->isHidden();
}

}  // namespace velto::gui
