// Export of recorded time to a file for a spreadsheet or a script, and import of a segments
// export back into the store.
//
// Detail "segments": one record per stored row, keys date, start, end, seconds, app, bundle_id,
// site, window_title, tool, category, end_reason, category_name. Detail "dailyApps": one record
// per local day, application and category, keys date, app, bundle_id, category, seconds,
// category_name; rows are filed by site and title as reports file them, so a browser's day comes
// as one record per category of the sites it showed and category sums agree with the report.
// CSV: a header of the keys, comma-separated values, fields holding a comma, a double quote or a
// line break quoted with inner quotes doubled, every line ending in CR LF. JSON: an array of
// objects, pretty printed, keys sorted. Dates are local days of the calendar ("yyyy-MM-dd"),
// date-times ISO 8601 with the calendar's offset, to the second. Records come in start order.
//
// Rows are streamed from the store, so memory does not grow with the history.
// Thread: main thread, with the store.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "base/calendar.h"
#include "categories/category_resolver.h"
#include "reports/usage_rollup.h"
#include "store/segment_store.h"

namespace velto {

enum class ExportRange { shown, last30, everything };
enum class ExportDetail { segments, dailyApps };
enum class ExportFormat { csv, json };

std::string_view rawValue(ExportRange range);
std::string_view rawValue(ExportDetail detail);
std::string_view rawValue(ExportFormat format);
std::optional<ExportRange> exportRangeFromRaw(std::string_view raw);
std::optional<ExportDetail> exportDetailFromRaw(std::string_view raw);
std::optional<ExportFormat> exportFormatFromRaw(std::string_view raw);

struct ExportRequest {
  std::optional<DateInterval> interval;  // rows overlapping it; none: every stored row
  ExportDetail detail = ExportDetail::segments;
  ExportFormat format = ExportFormat::csv;
};

struct ExportContext {
  const Calendar& calendar;
  const CategoryResolver& resolver;
  const CategoryDirectory& directory;
  std::string language;
  // Called now and then with the rows written so far and the rows to write.
  std::function<void(std::int64_t done, std::int64_t total)> progress;
};

// Writes the records to `out`. Fails when the store cannot be read or `out` cannot be written.
// Returns the number of records written.
Result<std::int64_t> writeExport(SegmentStore& store, const ExportRequest& request,
                                 const ExportContext& context, std::ostream& out);

// "2026-11-14T22:40:00+01:00": whole seconds, the calendar's offset.
std::string exportDateTime(Instant at, const Calendar& calendar);
// A CSV field, quoted when it holds a comma, a double quote, a CR or a LF.
std::string csvField(std::string_view value);

struct ImportOutcome {
  std::int64_t added = 0;
  std::int64_t skipped = 0;  // identical in start, end and bundle id to a stored row
};

// How many records importSegments reads between two calls of ImportProgress::read.
inline constexpr std::int64_t kImportProgressEvery = 1000;

// What importSegments tells while it runs; either may be empty.
struct ImportProgress {
  // The records read so far: every kImportProgressEvery records and once at the end.
  std::function<void(std::int64_t read)> read;
  // Once every record is stored, before the totals and summaries of `days` days are built.
  std::function<void(std::int64_t days)> summing;
};

// Reads a JSON export of detail "segments" and stores its rows in one transaction, together
// with the day totals that reports read (see UsageAggregates). Records
// identical in start, end and bundle id to a stored row, or to an earlier record, are skipped;
// as exports write whole seconds, a stored row matches within the second it started and ended
// in, so importing an export back into the store it came from changes nothing either.
// A malformed file stores nothing; the error, in `language`, names the record and the field
// ("record 3: ..."). Besides bad JSON and missing fields, a record is malformed when it holds
// what no recorder writes: "seconds" off the time from "start" to "end" by more than the second
// the export cuts, an instant outside 1970 to 2099, an unknown "end_reason", a NUL character in a
// text, or less than the recorder's minimum between start and end unless made by hand
// ("manual"). A stream that fails to read is an error too, never an exception.
Result<ImportOutcome> importSegments(SegmentStore& store, std::istream& in,
                                     const Calendar& calendar, const ImportProgress& progress = {},
                                     std::string_view language = "en");

}  // namespace velto
