// The timeline's edits of recorded time: delete a stretch, delete an application's day, give a
// stretch to another application, name a stretch. Each asks first through `ask` and changes the
// store only on a yes; the store saves, posts its change notice and logs a failure itself.
//
// The running segment is not a stored row: its id (the report's live id) is never passed to the
// store, and a stretch that holds only the running segment cannot be edited.
// Thread: main thread.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "reports/usage_report.h"
#include "store/segment_store.h"

namespace velto::gui {

struct EditQuestion {
  std::string title;
  std::string message;
  std::string action;  // the confirming button
};

enum class EditOutcome { done, declined, nothingToEdit, failed };

class RecordEdits {
 public:
  using Ask = std::function<bool(const EditQuestion&)>;

  RecordEdits(SegmentStore& store, std::string language, Ask ask);

  // The stored rows of `block`, in time order (the running segment left out).
  std::vector<Uuid> storedIds(const TimelineBlock& block, const UsageFigures& figures) const;
  bool canEdit(const TimelineBlock& block, const UsageFigures& figures) const;

  EditOutcome deleteStretch(const TimelineBlock& block, const UsageFigures& figures);
  // Every stored row of `bundleId` on the day the figures show.
  EditOutcome deleteAppDay(const std::string& bundleId, const std::string& appName,
                           const UsageFigures& figures);
  EditOutcome giveTo(const TimelineBlock& block, const UsageFigures& figures,
                     const std::string& bundleId, const std::string& appName);
  // Files the block's stored time under `name` as its own rows; an empty name edits nothing.
  EditOutcome nameTime(const TimelineBlock& block, const UsageFigures& figures,
                       const std::string& name);

  // The question the next deleteStretch of `block` would ask (for the confirmation's preview).
  EditQuestion deleteQuestion(const std::string& appName, double seconds) const;

 private:
  double storedSeconds(std::span<const Uuid> ids, const UsageFigures& figures) const;

  SegmentStore& store_;
  std::string language_;
  Ask ask_;
};

}  // namespace velto::gui
