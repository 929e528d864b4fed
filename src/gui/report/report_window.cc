#include "gui/report/report_window.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QSet>
#include <QTabWidget>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>

#include "app/report_figures.h"
#include "app/service_set.h"
#include "base/log.h"
#include "base/notices.h"
#include "gui/report/buckets_model.h"
#include "gui/report/category_filing.h"
#include "gui/report/chart_views.h"
#include "gui/report/export_dialog.h"
#include "gui/report/heatmap_model.h"
#include "gui/report/overview_panel.h"
#include "gui/report/period_picker.h"
#include "gui/report/report_rows.h"
#include "gui/report/report_text.h"
#include "gui/report/timeline_strip.h"
#include "gui/report/trends_panel.h"
#include "gui/report/usage_rows_model.h"
#include "gui/shell/window_state.h"
#include "settings/settings_keys.h"

namespace velto::gui {

namespace {

// The report's entry in the window state, and its last tab's field there.
const QString kStateName = QStringLiteral("report");
const QString kTabField = QStringLiteral("tab");

std::optional<std::filesystem::path> dataFolder(ServiceSet& services) {
  const std::optional<std::filesystem::path>& store = services.persistence().file();
  if (!store) return std::nullopt;
  return store->parent_path();
}

QTreeView* rowsView(UsageRowsModel& model, const QString& name, QWidget* parent) {
  auto* view = new QTreeView(parent);
  view->setModel(&model);
  view->setAccessibleName(name);
  view->setUniformRowHeights(true);
  view->setAlternatingRowColors(true);
  view->setContextMenuPolicy(Qt::CustomContextMenu);
  view->header()->setSectionResizeMode(UsageRowsModel::nameColumn, QHeaderView::Stretch);
  view->header()->setStretchLastSection(false);
  return view;
}

// Runs `reset` on the view's model and opens the same rows again and scrolls back, so that the
// live refresh every minute does not fold the list the user is reading.
void keepingPlace(QTreeView* view, const std::function<void()>& reset) {
  QAbstractItemModel* model = view->model();
  QSet<QString> open;
  for (int row = 0; row < model->rowCount(); ++row) {
    const QModelIndex index = model->index(row, 0);
    if (view->isExpanded(index)) open.insert(index.data(UsageRowsModel::KeyRole).toString());
  }
  const QString current = view->currentIndex().data(UsageRowsModel::KeyRole).toString();
  const int scrolled = view->verticalScrollBar()->value();
  reset();
  for (int row = 0; row < model->rowCount(); ++row) {
    const QModelIndex index = model->index(row, 0);
    const QString key = index.data(UsageRowsModel::KeyRole).toString();
    if (open.contains(key)) view->expand(index);
    if (!current.isEmpty() && key == current) view->setCurrentIndex(index);
  }
  view->verticalScrollBar()->setValue(scrolled);
}

}  // namespace

ReportWindow::ReportWindow(ServiceSet& services, WindowState* state, QWidget* parent)
    : QWidget(parent),
      services_(services),
      ownState_(state ? nullptr : std::make_unique<WindowState>(dataFolder(services))),
      state_(state ? state : ownState_.get()),
      language_(services.language()),
      navigator_(services.calendar(), services.clock().now()) {
  setWindowTitle(uiText(language_, "main.window.title"));
  setMinimumSize(640, 480);

  UsageReport::Services reportServices{services_.store(),
                                       services_.calendar(),
                                       services_.clock(),
                                       services_.scheduler(),
                                       services_.notices(),
                                       [this] { return services_.categoryResolver(); },
                                       CategoryDirectory::of(services_.categories(), language_),
                                       [this]() -> std::optional<LiveSlice> {
                                         const auto& open =
                                             services_.engine().recorder().openSegment();
                                         if (!open) return std::nullopt;
                                         return LiveSlice{open->context, open->startedAt};
                                       },
                                       language_};
  report_ = std::make_unique<UsageReport>(std::move(reportServices));
  ask_ = [this](const EditQuestion& question) {
    QMessageBox box(QMessageBox::Warning, qs(question.title), qs(question.title),
                    QMessageBox::Cancel, this);
    box.setInformativeText(qs(question.message));
    QPushButton* confirm = box.addButton(qs(question.action), QMessageBox::DestructiveRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    return box.clickedButton() == confirm;
  };
  edits_ = std::make_unique<RecordEdits>(services_.store(), language_,
                                         [this](const EditQuestion& q) { return ask_(q); });

  apps_ = new UsageRowsModel(language_, this);
  apps_->setChildSource([this](const UsageRow& app) { return appDetails(*report_, app); });
  categories_ = new UsageRowsModel(language_, this);
  sites_ = new UsageRowsModel(language_, this);
  heatmap_ = new HeatmapModel(language_, this);
  buckets_ = new BucketsModel(language_, this);

  auto* layout = new QVBoxLayout(this);
  auto* top = new QHBoxLayout;
  picker_ = new PeriodPicker(navigator_, services_.calendar(), services_.clock(), language_, this);
  top->addWidget(picker_, 1);
  auto* exportButton = new QPushButton(uiText(language_, "main.export"), this);
  exportButton->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_E));
  top->addWidget(exportButton);
  layout->addLayout(top);

  tabs_ = new QTabWidget(this);
  overview_ = new OverviewPanel(language_, *buckets_, this);
  tabs_->addTab(overview_, uiText(language_, "main.tab.overview"));

  auto* timelinePage = new QWidget(this);
  auto* timelineLayout = new QVBoxLayout(timelinePage);
  timeline_ = new TimelineStrip(services_.calendar(), language_, timelinePage);
  timelineNote_ = new QLabel(timelinePage);
  timelineNote_->setWordWrap(true);
  timelineLayout->addWidget(timeline_);
  timelineLayout->addWidget(timelineNote_);
  timelineLayout->addStretch();
  tabs_->addTab(timelinePage, uiText(language_, "main.tab.timeline"));

  appsView_ = rowsView(*apps_, uiText(language_, "main.tab.apps"), this);
  tabs_->addTab(appsView_, uiText(language_, "main.tab.apps"));
  categoriesView_ = rowsView(*categories_, uiText(language_, "main.tab.categories"), this);
  tabs_->addTab(categoriesView_, uiText(language_, "main.tab.categories"));
  sitesView_ = rowsView(*sites_, uiText(language_, "main.tab.sites"), this);
  tabs_->addTab(sitesView_, uiText(language_, "main.tab.sites"));
  heatmapView_ = new HeatmapView(*heatmap_, this);
  heatmapView_->setAccessibleName(uiText(language_, "main.heatmap.accessibleName"));
  tabs_->addTab(heatmapView_, uiText(language_, "main.tab.hours"));
  trends_ = new TrendsPanel(language_, this);
  tabs_->addTab(trends_, uiText(language_, "main.tab.trends"));
  layout->addWidget(tabs_, 1);

  connect(picker_, &PeriodPicker::periodChanged, this, &ReportWindow::applyPeriod);
  connect(exportButton, &QPushButton::clicked, this, &ReportWindow::openExport);
  connect(timeline_, &TimelineStrip::blockMenuRequested, this, &ReportWindow::showBlockMenu);
  connect(appsView_, &QTreeView::customContextMenuRequested, this,
          [this](QPoint at) { showRowMenu(appsView_, CategoryRule::Subject::app, at); });
  connect(sitesView_, &QTreeView::customContextMenuRequested, this,
          [this](QPoint at) { showRowMenu(sitesView_, CategoryRule::Subject::host, at); });
  connect(overview_, &OverviewPanel::summaryRequested, this, &ReportWindow::writeSummary);
  summarySetting_ =
      services_.notices().subscribe(keys::kAiSummaryEnabled, [this] { updateSummaryCard(); });

  report_->onChange = [this] { refresh(); };
  restoreState();
  refresh();
}

ReportWindow::~ReportWindow() {
  report_->onChange = nullptr;
}

void ReportWindow::showPeriod(PeriodKind kind, Instant anchor) {
  navigator_.show(kind, anchor);
  applyPeriod();
}

void ReportWindow::showPreset(RangePreset preset) {
  navigator_.showPreset(preset);
  applyPeriod();
}

void ReportWindow::showRange(Instant first, Instant last) {
  navigator_.showRange(first, last);
  applyPeriod();
}

void ReportWindow::showTab(Tab tab) {
  tabs_->setCurrentIndex(static_cast<int>(tab));
}

ReportWindow::Tab ReportWindow::currentTab() const {
  return static_cast<Tab>(tabs_->currentIndex());
}

void ReportWindow::setSummaryWriter(SummaryWriter writer) {
  summaryWriter_ = std::move(writer);
  summarized_.reset();
  updateSummaryCard();
}

void ReportWindow::setEditQuestion(RecordEdits::Ask ask) {
  ask_ = std::move(ask);
}

void ReportWindow::applyPeriod() {
  switch (navigator_.mode()) {
    case ReportPeriodNavigator::Mode::preset:
      report_->showPreset(*navigator_.preset());
      break;
    case ReportPeriodNavigator::Mode::custom:
      report_->showCustomRange(navigator_.rangeDays().start, navigator_.rangeDays().end);
      break;
    default:
      report_->showPeriod(navigator_.kind(), navigator_.anchor());
  }
  // A held report recomputes later; the picker follows the navigator at once.
  if (report_->holdsReload()) picker_->refresh(picker_->label());
}

void ReportWindow::refresh() {
  const UsageFigures& f = report_->figures();
  // At midnight the report moves "today" on by itself; the picker's steps start from there.
  const bool range = navigator_.mode() == ReportPeriodNavigator::Mode::preset ||
                     navigator_.mode() == ReportPeriodNavigator::Mode::custom;
  if (!range && f.period.kind == navigator_.kind() &&
      navigator_.period(services_.clock().now()).interval.start != f.period.interval.start) {
    navigator_.show(f.period.kind, f.period.interval.start);
  }
  picker_->refresh(qs(f.label));
  overview_->setFigures(f);
  fillBuckets(f);

  const bool day = f.period.kind == PeriodKind::day;
  std::vector<QColor> colors;
  // The day's categories by time, in the order of the report's category list.
  std::map<std::string, double> blockSeconds;
  for (const TimelineBlock& block : f.blocks) {
    colors.push_back(categoryColor(block.category));
    blockSeconds[block.category] += secondsBetween(block.startedAt, block.endedAt);
  }
  std::vector<TimelineStrip::LegendEntry> legend;
  for (const CategoryUsage& category : f.byCategory) {
    if (!blockSeconds.contains(category.id)) continue;
    legend.push_back({qs(category.name), categoryColor(category.id), category.seconds});
  }
  // A day still running reaches to now; a finished one ends with its last stretch.
  const std::optional<Instant> running =
      f.period.inProgress ? std::optional<Instant>(services_.clock().now()) : std::nullopt;
  timeline_->setBlocks(day ? f.blocks : std::vector<TimelineBlock>{},
                       day ? UsageRollup::timelineSpan(f.segments, running) : std::nullopt,
                       std::move(colors), day ? std::move(legend) : decltype(legend){});
  timeline_->setVisible(day);
  timelineNote_->setText(day ? uiText(language_, "main.timeline.hint")
                             : uiText(language_, "main.timeline.dayOnly"));

  keepingPlace(appsView_, [&] { apps_->setRows(appRows(*report_), f.totalSeconds); });
  keepingPlace(categoriesView_, [&] { categories_->setRows(categoryRows(f), f.totalSeconds); });
  keepingPlace(sitesView_, [&] { sites_->setRows(siteRows(f), f.totalSeconds); });
  heatmap_->setGrid(
      f.weekdayHourly, services_.calendar().firstWeekday(),
      day ? std::optional<Weekday>(services_.calendar().weekday(f.period.interval.start))
          : std::nullopt);
  trends_->setFigures(f);
  updateSummaryCard();
}

void ReportWindow::fillBuckets(const UsageFigures& f) {
  const bool months = f.period.monthBuckets();
  std::vector<std::vector<BucketsModel::Stack>> stacks;
  std::vector<double> previous;
  if (f.period.kind != PeriodKind::day) {
    const Calendar& calendar = services_.calendar();
    ReportFigures& figures = services_.figures();
    const CategoryDirectory directory = CategoryDirectory::of(services_.categories(), language_);
    // The starts of the buckets of `interval`, grouped as the report groups its own.
    auto starts = [&](const DateInterval& interval) {
      std::vector<Instant> found;
      std::string last;
      for (Instant day = interval.start; day < interval.end; day = calendar.nextMidnight(day)) {
        std::string key = calendar.dayKey(day);
        if (months) key.resize(7);
        if (key != last) found.push_back(day);
        last = std::move(key);
      }
      return found;
    };
    const std::vector<Instant> before = starts(f.comparison.interval);
    for (size_t i = 0; i < f.buckets.size(); ++i) {
      const Instant start = f.buckets[i].start;
      const Instant end = std::min(
          i + 1 < f.buckets.size() ? f.buckets[i + 1].start : f.period.interval.end, f.counted.end);
      std::vector<BucketsModel::Stack> stack;
      if (start < end) {
        for (const CategoryChange& change : figures.categoryChanges(start, end, start, start)) {
          if (change.current <= 0) continue;
          stack.push_back({qs(directory.name(change.category)), categoryColor(change.category),
                           change.current});
        }
      }
      std::sort(stack.begin(), stack.end(),
                [](const auto& a, const auto& b) { return a.seconds > b.seconds; });
      stacks.push_back(std::move(stack));
      if (i < before.size()) {
        const Instant to = i + 1 < before.size() ? before[i + 1] : f.comparison.interval.end;
        previous.push_back(figures.totalSeconds(before[i], to));
      }
    }
    // Outlines only where each bar has its match.
    if (previous.size() != f.buckets.size()) previous.resize(f.buckets.size(), 0);
  }
  buckets_->setBuckets(f.buckets, months, std::move(stacks), std::move(previous));
}

QColor ReportWindow::categoryColor(const std::string& category) const {
  const ColorHue& hue = services_.categories().hue(UsageCategory::fromRaw(category));
  const bool dark = palette().color(QPalette::Window).lightness() < 128;
  const Rgb rgb = dark ? hue.dark : hue.light;
  return QColor(rgb.red, rgb.green, rgb.blue);
}

void ReportWindow::updateSummaryCard() {
  const bool on = services_.settings().aiSummaryEnabled();
  overview_->setSummaryVisible(on);
  const UsageFigures& f = report_->figures();
  // The text stays while its period is shown (the live minute does not touch it); another
  // period, or the card going off, drops it and any answer still to come.
  if (on && summarized_ == SummaryKey{f.period.interval.start, f.period.interval.end}) return;
  summarized_.reset();
  ++summaryRequest_;
  overview_->showSummaryPlaceholder(summaryWriter_ && f.totalSeconds > 0);
}

void ReportWindow::writeSummary() {
  const UsageFigures& f = report_->figures();
  if (!services_.settings().aiSummaryEnabled() || !summaryWriter_ || f.totalSeconds <= 0) return;
  summarized_ = SummaryKey{f.period.interval.start, f.period.interval.end};
  overview_->showSummaryWorking();
  // Only the answer to the newest request is shown.
  const std::uint64_t request = ++summaryRequest_;
  QPointer<ReportWindow> self(this);
  const AppDetailSource details = [self](const std::string& bundleId) {
    return self ? self->report_->detailRows(bundleId) : std::vector<DetailUsage>{};
  };
  summaryWriter_(f, details, [self, request](SummaryAnswer answer) {
    if (!self || request != self->summaryRequest_) return;
    const std::string& lang = self->language_;
    QString footnote;
    if (!answer.failed) {
      footnote = (answer.modelAddress.empty()
                      ? uiText(lang, "main.summary.origin.builtIn")
                      : uiText(lang, "main.summary.origin.model %@", answer.modelAddress)) +
                 QLatin1Char(' ') + uiText(lang, "main.summary.footnote");
    }
    self->overview_->showSummary(qs(answer.text), footnote);
  });
}

std::unique_ptr<QMenu> ReportWindow::blockMenu(int index) {
  const UsageFigures& f = report_->figures();
  if (index < 0 || static_cast<size_t>(index) >= f.blocks.size()) return nullptr;
  const TimelineBlock block = f.blocks[static_cast<size_t>(index)];
  const bool editable = edits_->canEdit(block, f);
  auto menu = std::make_unique<QMenu>(this);
  menu->setAccessibleName(uiText(language_, "edit.menu.accessibleName"));
  QAction* remove = menu->addAction(uiText(language_, "edit.deleteStretch"), this, [this, block] {
    afterEdit(edits_->deleteStretch(block, report_->figures()));
  });
  QAction* removeDay = menu->addAction(
      uiText(language_, "edit.deleteAppDay %@", block.appName), this, [this, block] {
        afterEdit(edits_->deleteAppDay(block.bundleId, block.appName, report_->figures()));
      });
  menu->addSeparator();
  QAction* give = menu->addAction(uiText(language_, "edit.reassign"), this,
                                  [this, block] { giveBlockToApp(block); });
  give->setToolTip(uiText(language_, "edit.reassign.description"));
  QAction* name =
      menu->addAction(uiText(language_, "edit.name"), this, [this, block] { nameBlock(block); });
  name->setToolTip(uiText(language_, "edit.name.description"));
  for (QAction* action : {remove, removeDay, give, name}) action->setEnabled(editable);
  return menu;
}

void ReportWindow::showBlockMenu(int index, QPoint where) {
  std::unique_ptr<QMenu> menu = blockMenu(index);
  if (!menu) return;
  // The block list must not change under the open menu and the question that follows it.
  report_->setHoldsReload(true);
  menu->exec(where);
  report_->setHoldsReload(false);
}

void ReportWindow::giveBlockToApp(const TimelineBlock& block) {
  const UsageFigures& f = report_->figures();
  QStringList names;
  std::vector<const AppUsage*> choices;
  for (const AppUsage& app : f.byApp) {
    if (app.bundleId == block.bundleId) continue;
    names << qs(app.appName);
    choices.push_back(&app);
  }
  if (choices.empty()) return;
  bool chosen = false;
  const QString picked =
      QInputDialog::getItem(this, uiText(language_, "edit.reassign"),
                            uiText(language_, "edit.reassign.prompt"), names, 0, false, &chosen);
  if (!chosen) return;
  const auto at = names.indexOf(picked);
  if (at < 0) return;
  const AppUsage target = *choices[static_cast<size_t>(at)];
  afterEdit(edits_->giveTo(block, f, target.bundleId, target.appName));
}

void ReportWindow::nameBlock(const TimelineBlock& block) {
  bool entered = false;
  const QString name = QInputDialog::getText(this, uiText(language_, "edit.name"),
                                             uiText(language_, "edit.name.description"),
                                             QLineEdit::Normal, QString(), &entered);
  if (!entered || name.trimmed().isEmpty()) return;
  afterEdit(edits_->nameTime(block, report_->figures(), utf8(name)));
}

void ReportWindow::afterEdit(EditOutcome outcome) {
  if (outcome != EditOutcome::failed) return;
  QMessageBox::warning(this, windowTitle(), uiText(language_, "edit.failed"));
}

void ReportWindow::showRowMenu(QTreeView* view, CategoryRule::Subject subject, QPoint at) {
  const QModelIndex index = view->indexAt(at);
  const auto* model = static_cast<UsageRowsModel*>(view->model());
  const UsageRow* row = model->row(index);
  // Applications (in the apps list or under their category) and sites can be filed.
  if (!row || (row->kind != UsageRow::Kind::app && row->kind != UsageRow::Kind::site)) return;
  QMenu menu(this);
  QMenu* file = menu.addMenu(uiText(language_, "main.fileUnder %@", row->name));
  const std::string pattern = row->key;
  for (const UsageCategory& category : services_.categories().allCategories()) {
    const EffectiveCategory effective = services_.categories().effective(category, language_);
    QAction* action = file->addAction(qs(effective.name));
    action->setCheckable(true);
    action->setChecked(row->category == effective.rawValue);
    const std::string raw = effective.rawValue;
    connect(action, &QAction::triggered, this, [this, subject, pattern, raw] {
      const Status filed =
          fileUnderCategory(services_.store(), subject, pattern, raw, services_.clock().now());
      if (!filed) log::error("Could not file under a category: %{public}s", filed.error());
    });
  }
  report_->setHoldsReload(true);
  menu.exec(view->viewport()->mapToGlobal(at));
  report_->setHoldsReload(false);
}

void ReportWindow::openExport() {
  ExportDialog dialog(services_, report_->figures().period.interval, qs(report_->figures().label),
                      this);
  dialog.exec();
}

void ReportWindow::restoreState() {
  if (!state_->remember(this, kStateName)) resize(sizeHint().expandedTo(QSize(960, 640)));
  if (const std::optional<int> tab = state_->number(kStateName, kTabField);
      tab && *tab >= 0 && *tab < tabs_->count()) {
    tabs_->setCurrentIndex(*tab);
  }
}

// The geometry is saved by the window state itself when the window hides or closes.
void ReportWindow::saveTab() {
  state_->setNumber(kStateName, kTabField, tabs_->currentIndex());
}

void ReportWindow::closeEvent(QCloseEvent* event) {
  saveTab();
  QWidget::closeEvent(event);
}

void ReportWindow::hideEvent(QHideEvent* event) {
  if (!event->spontaneous()) saveTab();
  QWidget::hideEvent(event);
}

}  // namespace velto::gui
