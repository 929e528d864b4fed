#include "gui/report/record_edits.h"

#include <algorithm>

#include "base/strings.h"
#include "recording/off_computer.h"
#include "reports/duration_text.h"

namespace velto::gui {

namespace {

EditOutcome outcomeOf(const Status& status) {
  return status ? EditOutcome::done : EditOutcome::failed;
}

const Segment* findRow(const UsageFigures& figures, const Uuid& id) {
  for (const Segment& row : figures.segments) {
    if (row.id == id) return &row;
  }
  return nullptr;
}

}  // namespace

RecordEdits::RecordEdits(SegmentStore& store, std::string language, Ask ask)
    : store_(store), language_(std::move(language)), ask_(std::move(ask)) {}

std::vector<Uuid> RecordEdits::storedIds(const TimelineBlock& block,
                                         const UsageFigures& figures) const {
  std::vector<Uuid> ids;
  for (const Uuid& id : block.segmentIDs) {
    if (figures.liveSegmentID && id == *figures.liveSegmentID) continue;
    ids.push_back(id);
  }
  return ids;
}

bool RecordEdits::canEdit(const TimelineBlock& block, const UsageFigures& figures) const {
  return !storedIds(block, figures).empty();
}

double RecordEdits::storedSeconds(std::span<const Uuid> ids, const UsageFigures& figures) const {
  double seconds = 0;
  for (const Uuid& id : ids) {
    if (const Segment* row = findRow(figures, id)) seconds += row->seconds;
  }
  return seconds;
}

EditQuestion RecordEdits::deleteQuestion(const std::string& appName, double seconds) const {
  const std::string subject =
      i18n::text(language_, "edit.delete.subject %@ %@",
                 DurationText::forLanguage(language_).format(seconds), appName);
  return {i18n::text(language_, "edit.delete.confirm %@", subject),
          i18n::text(language_, "edit.delete.message"),
          i18n::text(language_, "edit.delete.confirm.action")};
}

EditOutcome RecordEdits::deleteStretch(const TimelineBlock& block, const UsageFigures& figures) {
  const std::vector<Uuid> ids = storedIds(block, figures);
  if (ids.empty()) return EditOutcome::nothingToEdit;
  if (!ask_(deleteQuestion(block.appName, storedSeconds(ids, figures)))) {
    return EditOutcome::declined;
  }
  return outcomeOf(store_.deleteSegments(ids));
}

EditOutcome RecordEdits::deleteAppDay(const std::string& bundleId, const std::string& appName,
                                      const UsageFigures& figures) {
  std::vector<Uuid> ids;
  double seconds = 0;
  for (const Segment& row : figures.segments) {
    if (row.bundleId != bundleId) continue;
    if (figures.liveSegmentID && row.id == *figures.liveSegmentID) continue;
    ids.push_back(row.id);
    seconds += row.seconds;
  }
  if (ids.empty()) return EditOutcome::nothingToEdit;
  if (!ask_(deleteQuestion(appName, seconds))) return EditOutcome::declined;
  return outcomeOf(store_.deleteSegments(ids));
}

EditOutcome RecordEdits::giveTo(const TimelineBlock& block, const UsageFigures& figures,
                                const std::string& bundleId, const std::string& appName) {
  const std::vector<Uuid> ids = storedIds(block, figures);
  if (ids.empty() || bundleId.empty()) return EditOutcome::nothingToEdit;
  const std::string duration =
      DurationText::forLanguage(language_).format(storedSeconds(ids, figures));
  const EditQuestion question{
      i18n::text(language_, "edit.reassign.confirm %@ %@ %@", duration, block.appName, appName),
      i18n::text(language_, "edit.reassign.message"),
      i18n::text(language_, "edit.reassign.action")};
  if (!ask_(question)) return EditOutcome::declined;
  return outcomeOf(store_.reassign(ids, bundleId, appName));
}

EditOutcome RecordEdits::nameTime(const TimelineBlock& block, const UsageFigures& figures,
                                  const std::string& name) {
  const std::vector<Uuid> ids = storedIds(block, figures);
  const std::optional<ActivityContext> context = labelledContext(name);
  if (ids.empty() || !context) return EditOutcome::nothingToEdit;
  // The stored rows' own span: the running segment's time is still being recorded.
  std::optional<Instant> start;
  std::optional<Instant> end;
  for (const Uuid& id : ids) {
    const Segment* row = findRow(figures, id);
    if (!row) continue;
    start = start ? std::min(*start, row->startedAt) : row->startedAt;
    end = end ? std::max(*end, row->endedAt) : row->endedAt;
  }
  if (!start || !end) return EditOutcome::nothingToEdit;
  const EditQuestion question{i18n::text(language_, "edit.name.confirm %@", context->appName),
                              i18n::text(language_, "edit.name.message"),
                              i18n::text(language_, "edit.name.action")};
  if (!ask_(question)) return EditOutcome::declined;
  return outcomeOf(store_.nameTime(*start, *end, context->bundleId, context->appName, ids));
}

}  // namespace velto::gui
