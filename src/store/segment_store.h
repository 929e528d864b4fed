// The durable record of the user's day: finished segments and category rules in the store
// file, read and changed only through this class.
//
// Every change is one transaction. After a change commits, "studio.kestrova.Velto.
// segmentsDidChange" is posted on the NoticeBus (a wipe also posts "...store.didWipe"); a
// change that fails is logged with its name, leaves every row as it was, and posts nothing.
// Rows are returned sorted by start. Instants are absolute; day keys come from the calendar
// given at construction (which follows zone changes made to it).
//
// Thread: main thread only. The controller, calendar and bus must outlive the store.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/calendar.h"
#include "base/notice_bus.h"
#include "recording/recorded_segment.h"
#include "store/category_rule.h"
#include "store/kept_segments.h"
#include "store/persistence_controller.h"
#include "store/segment.h"

namespace velto {

class SegmentStore final : public SegmentSink {
 public:
  SegmentStore(PersistenceController& persistence, const Calendar& calendar, NoticeBus& notices);

  // --- Segments ---
  // Stores the segment as a new row. One that cannot be stored now (another process holds the
  // store longer than the busy wait, the disk is full) is logged and kept in memory, in order,
  // and stored with the next segment or heartbeat that succeeds; at most kMaxPending are kept,
  // the oldest dropped first, with a log line. With a kept file (keepPendingIn), the waiting
  // segments are also on disk while they wait.
  // A recorded segment waits at most kRecordBusyWaitMs for another process's write: the
  // recorder's thread does not stall for the full busy wait while windows change.
  void record(const RecordedSegment& segment) override;
  void retry() override;
  static constexpr size_t kMaxPending = 1000;
  static constexpr int kRecordBusyWaitMs = 200;
  size_t pendingCount() const { return pending_.size(); }
  // From now on keeps waiting segments in `file` too, and first takes over what an earlier run
  // left there (killed while the store refused it): those rows are stored, or wait with the
  // rest. A row whose id is already stored counts as stored. For the one recording process.
  void keepPendingIn(std::unique_ptr<KeptSegmentsFile> file);
  Result<Uuid> insert(const RecordedSegment& segment);
  // Stores rows as given, ids included, in one transaction and with one notice (import, tests).
  Status insertRows(std::span<const Segment> rows);

  // A bulk write (an import): rows stored as they come, ids included, in one transaction that
  // stays open until commit(). Reads on this connection see the rows at once; nothing of them
  // reaches the file before commit(), so a bulk dropped uncommitted, or a process killed
  // half-way, leaves the store as it was. Meanwhile other processes wait for the store (the
  // recorder keeps its segments and stores them later). One bulk at a time; no other change
  // of this store while it is open.
  class Bulk {
   public:
    explicit Bulk(SegmentStore& store);
    ~Bulk();
    Bulk(const Bulk&) = delete;
    Bulk& operator=(const Bulk&) = delete;

    const Status& began() const { return transaction_.began(); }
    Status add(const Segment& row);
    // Commits and posts one change notice; a failure is logged as "Segment import failed:
    // <error>" and stores nothing.
    Status commit();

   private:
    SegmentStore& store_;
    sql::Transaction transaction_;
  };

  Result<std::vector<Segment>> fetchDay(std::string_view dayKey);
  // Rows with startedAt < end and endedAt > start: rows that only touch an edge are left out.
  Result<std::vector<Segment>> fetchOverlapping(Instant start, Instant end);
  Result<std::int64_t> count();

  // Deletes every row that started more than `days` calendar days before `now` (a row that
  // began before the cut-off goes whole). Counts first: when nothing is old enough there is no
  // write, no notice and no log line. Returns how many rows went.
  Result<std::int64_t> purge(int days, Instant now);

  Status wipe();

  // --- Edits of recorded time ---
  Status deleteSegments(std::span<const Uuid> ids);
  // Deletes the row only when it is time away from the computer; false when it is not (or no
  // longer exists).
  Result<bool> deleteOffComputer(const Uuid& id);
  // Gives rows to another application: detail fields are cleared, the reason becomes "manual";
  // times and day keys stay.
  Status reassign(std::span<const Uuid> ids, std::string_view bundleId, std::string_view appName);
  // Files start..end under bundleId/appName as new "manual" rows, one per calendar day covered,
  // and deletes the rows in `replacing` in the same transaction so nothing counts twice.
  Status nameTime(Instant start, Instant end, std::string_view bundleId, std::string_view appName,
                  std::span<const Uuid> replacing);

  // Who a stretch is given to by editRange.
  struct RangeOwner {
    std::string bundleId;
    std::string appName;
  };
  // What editRange changed: the rows it touched and their recorded seconds within the stretch.
  struct RangeEdit {
    std::int64_t rows = 0;
    double seconds = 0;
  };
  // Deletes the recorded time within [start, end) of the rows `matches` accepts (every row
  // when it is empty), or with `giveTo` gives it to that application as "manual" rows with
  // their details cleared, as reassign does. A row crossing an edge keeps its part outside as a
  // row of its own; the part inside keeps the row's id. Nothing matching: no write, no notice.
  // One transaction, logged as "Segment delete" or "Segment reassign" when it fails.
  Result<RangeEdit> editRange(Instant start, Instant end,
                              const std::function<bool(const Segment&)>& matches,
                              const std::optional<RangeOwner>& giveTo);

  // --- Category rules ---
  Result<std::vector<CategoryRule>> categoryRules();  // oldest first
  Status insertRule(const CategoryRule& rule);
  Status updateRule(const CategoryRule& rule);
  Status deleteRule(const Uuid& id);
  Status deleteRulesForCategory(std::string_view categoryRaw);
  Status deleteAllRules();

  // True when another connection to the file (another process: `velto rules`, `velto delete`,
  // an import) committed a change since the previous call; the first call only takes note.
  bool changedElsewhere();

  PersistenceController& persistence() { return persistence_; }

 private:
  Status insertRow(const Segment& row);
  Segment rowFor(const RecordedSegment& recorded) const;
  // Inserts a waiting row; true when it is stored (now, or already by an earlier run).
  bool storeWaiting(const Segment& row);
  void saveWaiting();
  Result<std::vector<Segment>> fetch(std::string_view where,
                                     const std::function<void(sql::Statement&)>& bind);
  // Runs `change` in a transaction; commits, posts the change notice, or logs
  // "<name> failed: <error>" and rolls back.
  Status edit(std::string_view name, const std::function<Status()>& change);
  // edit() for category rules: also announces that the rules changed.
  Status ruleEdit(std::string_view name, const std::function<Status()>& change);
  void changed();

  PersistenceController& persistence_;
  sql::Database& db_;
  const Calendar& calendar_;
  NoticeBus& notices_;
  std::optional<sql::Statement> insertStatement_;
  std::deque<Segment> pending_;  // recorded but not stored yet, oldest first, ids given
  std::unique_ptr<KeptSegmentsFile> keptFile_;
  std::optional<std::int64_t> seenDataVersion_;
};

}  // namespace velto
