#include "gui/report/trends_panel.h"

#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <cmath>

#include "gui/report/report_text.h"

namespace velto::gui {

namespace {

// Each list shows its largest movers only.
constexpr size_t kMoversPerList = 8;

}  // namespace

std::string moverChangeText(const Mover& mover, std::string_view language) {
  const double change = mover.row.current - mover.row.previous;
  std::string text =
      (change < 0 ? "\u2212" : "+") + DurationText::forLanguage(language).format(std::fabs(change));
  if (mover.percent) {
    const long long percent = *mover.percent;
    text += " (" + std::string(percent < 0 ? "\u2212" : "+") + std::to_string(std::llabs(percent)) +
            "%)";
  }
  return text;
}

TrendsPanel::TrendsPanel(std::string language, QWidget* parent)
    : QWidget(parent), language_(std::move(language)) {
  auto* layout = new QVBoxLayout(this);
  comparison_ = new QLabel(this);
  comparison_->setWordWrap(true);
  layout->addWidget(comparison_);
  status_ = new QLabel(this);
  status_->setWordWrap(true);
  layout->addWidget(status_);
  list_ = new QTreeWidget(this);
  list_->setColumnCount(3);
  list_->setHeaderLabels({uiText(language_, "main.list.name"), uiText(language_, "main.trends.now"),
                          uiText(language_, "main.trends.change")});
  list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  list_->setAccessibleName(uiText(language_, "main.tab.trends"));
  layout->addWidget(list_, 1);
}

void TrendsPanel::setFigures(const UsageFigures& f) {
  comparison_->setText(f.comparisonText ? qs(*f.comparisonText) : QString());
  comparison_->setVisible(f.comparisonText.has_value());
  status_->setText(f.trendsText ? qs(*f.trendsText) : QString());
  status_->setVisible(f.trendsText.has_value());
  list_->clear();
  const std::pair<const char*, const std::vector<Mover>*> groups[] = {
      {"main.trends.categories", &f.categoryTrends},
      {"main.trends.apps", &f.appTrends},
      {"main.trends.details", &f.detailTrends}};
  for (const auto& [key, movers] : groups) {
    if (movers->empty()) continue;
    auto* group = new QTreeWidgetItem(list_, {uiText(language_, key)});
    group->setFirstColumnSpanned(true);
    for (size_t i = 0; i < movers->size() && i < kMoversPerList; ++i) {
      const Mover& mover = (*movers)[i];
      new QTreeWidgetItem(group, {qs(mover.row.label), durationText(language_, mover.row.current),
                                  qs(moverChangeText(mover, language_))});
    }
  }
  list_->expandAll();
  list_->setVisible(list_->topLevelItemCount() > 0);
}

QString TrendsPanel::statusText() const {
  return status_->text();
}

int TrendsPanel::moverCount() const {
  int count = 0;
  for (int i = 0; i < list_->topLevelItemCount(); ++i)
    count += list_->topLevelItem(i)->childCount();
  return count;
}

}  // namespace velto::gui
