#include "reports/usage_export.h"

#include <charconv>
#include <cmath>
#include <ios>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <tuple>
#include <utility>

#include "base/iso8601.h"
#include "base/strings.h"
#include "recording/off_computer.h"
#include "recording/segment_end_reason.h"
#include "recording/segment_recorder.h"
#include "reports/usage_source.h"

namespace velto {

namespace {

constexpr std::string_view kRangeRaw[] = {"shown", "last30", "everything"};
constexpr std::string_view kDetailRaw[] = {"segments", "dailyApps"};
constexpr std::string_view kFormatRaw[] = {"csv", "json"};
constexpr std::string_view kOffMacCategory = "off_mac";

template <typename Enum, size_t N>
std::optional<Enum> fromRaw(const std::string_view (&raws)[N], std::string_view raw) {
  for (size_t i = 0; i < N; ++i) {
    if (raws[i] == raw) return static_cast<Enum>(i);
  }
  return std::nullopt;
}

std::string numberText(double value) {
  char buffer[64];
  const auto [end, error] =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
  if (error != std::errc()) return "0";
  return std::string(buffer, end);
}

struct Field {
  std::string_view key;
  std::string value;
  bool number = false;
};

// Writes records as CSV or JSON, buffering output in large chunks.
class RecordWriter {
 public:
  RecordWriter(std::ostream& out, ExportFormat format, std::vector<std::string_view> keys)
      : out_(out), format_(format), keys_(std::move(keys)) {
    if (format_ == ExportFormat::csv) {
      for (size_t i = 0; i < keys_.size(); ++i) {
        if (i > 0) buffer_ += ',';
        buffer_ += keys_[i];
      }
      buffer_ += "\r\n";
    } else {
      buffer_ += "[";
    }
  }

  // `fields` in the order of the keys given at construction.
  void write(std::vector<Field>& fields) {
    if (format_ == ExportFormat::csv) {
      for (size_t i = 0; i < fields.size(); ++i) {
        if (i > 0) buffer_ += ',';
        buffer_ += fields[i].number ? fields[i].value : csvField(fields[i].value);
      }
      buffer_ += "\r\n";
    } else {
      std::sort(fields.begin(), fields.end(),
                [](const Field& a, const Field& b) { return a.key < b.key; });
      buffer_ += written_ > 0 ? ",\n  {\n" : "\n  {\n";
      for (size_t i = 0; i < fields.size(); ++i) {
        buffer_ += "    \"";
        buffer_ += fields[i].key;
        buffer_ += "\": ";
        buffer_ += fields[i].number ? fields[i].value : nlohmann::json(fields[i].value).dump();
        buffer_ += i + 1 < fields.size() ? ",\n" : "\n";
      }
      buffer_ += "  }";
    }
    ++written_;
    if (buffer_.size() > (1 << 16)) flush();
  }

  bool finish() {
    if (format_ == ExportFormat::json) buffer_ += written_ > 0 ? "\n]\n" : "]\n";
    flush();
    out_.flush();
    return static_cast<bool>(out_);
  }
  bool good() const { return static_cast<bool>(out_); }
  std::int64_t written() const { return written_; }

 private:
  void flush() {
    out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    buffer_.clear();
  }

  std::ostream& out_;
  ExportFormat format_;
  std::vector<std::string_view> keys_;
  std::string buffer_;
  std::int64_t written_ = 0;
};

// Category and app texts of the export, memoised per category.
class Labels {
 public:
  explicit Labels(const ExportContext& context) : context_(context) {}

  std::string_view category(const std::string& bundleId, const std::optional<std::string>& host,
                            const std::optional<std::string>& title) {
    if (isOffComputer(bundleId)) return kOffMacCategory;
    std::optional<std::string_view> hostView;
    std::optional<std::string_view> titleView;
    if (host) hostView = *host;
    if (title) titleView = *title;
    return context_.resolver.category(bundleId, hostView, titleView);
  }

  const std::string& categoryName(std::string_view raw) {
    auto found = names_.find(raw);
    if (found != names_.end()) return found->second;
    std::string name = raw == kOffMacCategory
                           ? i18n::text(context_.language, "export.category.offMac")
                           : context_.directory.name(raw);
    return names_.emplace(std::string(raw), std::move(name)).first->second;
  }

  std::string app(const std::string& bundleId, const std::string& appName) const {
    if (!isOffComputer(bundleId)) return appName;
    const std::optional<OffMacKind> kind =
        offMacKindFromRaw(std::string_view(bundleId).substr(kOffComputerPrefix.size()));
    return kind ? std::string(i18n::lookup(context_.language, localizationKey(*kind))) : appName;
  }

 private:
  const ExportContext& context_;
  std::map<std::string, std::string, std::less<>> names_;
};

}  // namespace

std::string_view rawValue(ExportRange range) {
  return kRangeRaw[static_cast<int>(range)];
}
std::string_view rawValue(ExportDetail detail) {
  return kDetailRaw[static_cast<int>(detail)];
}
std::string_view rawValue(ExportFormat format) {
  return kFormatRaw[static_cast<int>(format)];
}
std::optional<ExportRange> exportRangeFromRaw(std::string_view raw) {
  return fromRaw<ExportRange>(kRangeRaw, raw);
}
std::optional<ExportDetail> exportDetailFromRaw(std::string_view raw) {
  return fromRaw<ExportDetail>(kDetailRaw, raw);
}
std::optional<ExportFormat> exportFormatFromRaw(std::string_view raw) {
  return fromRaw<ExportFormat>(kFormatRaw, raw);
}

std::string exportDateTime(Instant at, const Calendar& calendar) {
  const LocalDateTime local = calendar.local(at);
  const int offset = calendar.utcOffsetSeconds(at);
  const int minutes = std::abs(offset) / 60;
  // Written digit by digit: this runs twice for every exported row.
  std::string text(25, '0');
  auto put = [&](size_t at, int value, int width) {
    for (int i = width - 1; i >= 0; --i, value /= 10)
      text[at + static_cast<size_t>(i)] = static_cast<char>('0' + value % 10);
  };
  put(0, local.year, 4);
  text[4] = '-';
  put(5, local.month, 2);
  text[7] = '-';
  put(8, local.day, 2);
  text[10] = 'T';
  put(11, local.hour, 2);
  text[13] = ':';
  put(14, local.minute, 2);
  text[16] = ':';
  put(17, static_cast<int>(local.second), 2);
  text[19] = offset < 0 ? '-' : '+';
  put(20, minutes / 60, 2);
  text[22] = ':';
  put(23, minutes % 60, 2);
  return text;
}

std::string csvField(std::string_view value) {
  if (value.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(value);
  std::string quoted = "\"";
  for (char c : value) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  quoted += '"';
  return quoted;
}

Result<std::int64_t> writeExport(SegmentStore& store, const ExportRequest& request,
                                 const ExportContext& context, std::ostream& out) {
  sql::Database& db = store.persistence().database();
  const std::string where = request.interval ? " WHERE started_us < ? AND ended_us > ?" : "";
  Result<sql::Statement> counting = db.prepare("SELECT count(*) FROM segment" + where);
  Result<sql::Statement> rows = db.prepare(
      "SELECT started_us, ended_us, seconds, bundle_id, app_name, window_title, host, tool_name, "
      "end_reason FROM segment" +
      where + " ORDER BY started_us, rowid");
  if (!counting) return Error{counting.error()};
  if (!rows) return Error{rows.error()};
  if (request.interval) {
    for (sql::Statement* statement : {&*counting, &*rows}) {
      statement->bind(1, unixMicros(request.interval->end))
          .bind(2, unixMicros(request.interval->start));
    }
  }
  if (Result<bool> counted = counting->step(); !counted) return Error{counted.error()};
  const std::int64_t total = counting->int64(0);

  Labels labels(context);
  const bool segments = request.detail == ExportDetail::segments;
  RecordWriter writer(
      out, request.format,
      segments ? std::vector<std::string_view>{"date", "start", "end", "seconds", "app",
                                               "bundle_id", "site", "window_title", "tool",
                                               "category", "end_reason", "category_name"}
               : std::vector<std::string_view>{"date", "app", "bundle_id", "category", "seconds",
                                               "category_name"});
  // dailyApps: the current day's applications by category, written when the day changes. Each
  // row is filed as reports file it (by site and title too), so a browser's time is split by
  // the category of each site and the category sums agree with the report's.
  struct DayApp {
    std::string app;
    Micros micros = 0;
  };
  std::string day;
  std::map<std::pair<std::string, std::string>, DayApp> dayApps;  // by bundle id, category
  std::vector<Field> fields;
  auto flushDay = [&] {
    for (const auto& [key, entry] : dayApps) {
      const auto& [bundleId, category] = key;
      fields = {{"date", day},
                {"app", entry.app},
                {"bundle_id", bundleId},
                {"category", category},
                {"seconds", numberText(toSeconds(entry.micros)), true},
                {"category_name", labels.categoryName(category)}};
      writer.write(fields);
    }
    dayApps.clear();
  };

  std::int64_t done = 0;
  if (context.progress) context.progress(0, total);
  while (true) {
    Result<bool> row = rows->step();
    if (!row) return Error{row.error()};
    if (!*row) break;
    const Instant start = Instant(Microseconds(rows->int64(0)));
    const Instant end = Instant(Microseconds(rows->int64(1)));
    const double seconds = rows->real(2);
    const std::string bundleId = rows->text(3);
    const std::string appName = rows->text(4);
    const std::optional<std::string> title = rows->optionalText(5);
    const std::optional<std::string> host = rows->optionalText(6);
    if (segments) {
      const std::string category(labels.category(bundleId, host, title));
      std::string startText = exportDateTime(start, context.calendar);
      fields = {{"date", startText.substr(0, 10)},
                {"start", std::move(startText)},
                {"end", exportDateTime(end, context.calendar)},
                {"seconds", numberText(seconds), true},
                {"app", labels.app(bundleId, appName)},
                {"bundle_id", bundleId},
                {"site", host.value_or("")},
                {"window_title", title.value_or("")},
                {"tool", rows->optionalText(7).value_or("")},
                {"category", category},
                {"end_reason", rows->text(8)},
                {"category_name", labels.categoryName(category)}};
      writer.write(fields);
    } else {
      std::string date = context.calendar.dayKey(start);
      if (date != day) {
        flushDay();
        day = std::move(date);
      }
      DayApp& entry = dayApps[{bundleId, std::string(labels.category(bundleId, host, title))}];
      if (entry.app.empty()) entry.app = labels.app(bundleId, appName);
      entry.micros += countedMicros(seconds);
    }
    if (++done % 20000 == 0) {
      if (!writer.good()) return Error{"the file could not be written"};
      if (context.progress) context.progress(done, total);
    }
  }
  if (!segments) flushDay();
  if (!writer.finish()) return Error{"the file could not be written"};
  if (context.progress) context.progress(done, total);
  return writer.written();
}

namespace {

// Instants a row may hold. Nothing before 1970 can have been recorded: the system clock counts
// from then, so such a row comes from a typo or a broken file. Rows far in the future would
// outlive every retention purge (which only removes old rows) and show in no report anyone
// opens, so a mistyped year such as 9999 is refused too; 2100 leaves room for any real clock.
constexpr Instant kEarliestRow = Instant(std::chrono::sys_days(std::chrono::year(1970) / 1 / 1));
constexpr Instant kLatestRow = Instant(std::chrono::sys_days(std::chrono::year(2100) / 1 / 1));

// Exports cut both instants to the whole second while "seconds" keeps its fraction, so on a row
// the app exported the two differ by less than a second either way.
constexpr double kSecondsSlack = 1.0;

// "99999", "60.5", "1e+300": the shortest text that reads back as `value`.
std::string shortNumberText(double value) {
  char buffer[32];
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
  return error == std::errc() ? std::string(buffer, end) : std::string("?");
}

// Reads the text field `key`: absent, null or empty gives none. Sets `problem` when the value is
// not text or holds a NUL character, which nothing that records time ever writes.
std::optional<std::string> textField(const nlohmann::json& record, const char* key,
                                     std::string_view language, std::string& problem) {
  const auto found = record.find(key);
  if (found == record.end() || found->is_null()) return std::nullopt;
  if (!found->is_string()) {
    problem = i18n::text(language, "import.notText %@", key);
    return std::nullopt;
  }
  std::string text = found->get<std::string>();
  if (text.find('\0') != std::string::npos) {
    problem = i18n::text(language, "import.nul %@", key);
    return std::nullopt;
  }
  if (text.empty()) return std::nullopt;
  return text;
}

std::optional<Segment> segmentOf(const nlohmann::json& record, const Calendar& calendar,
                                 std::string_view language, std::string& problem) {
  if (!record.is_object()) {
    problem = i18n::text(language, "import.notObject");
    return std::nullopt;
  }
  Segment row;
  for (const char* key : {"start", "end"}) {
    const auto found = record.find(key);
    std::optional<Instant> parsed;
    if (found != record.end() && found->is_string()) {
      parsed = parseIso8601(found->get<std::string>());
    }
    if (!parsed) {
      problem = i18n::text(language, "import.notDateTime %@", key);
      return std::nullopt;
    }
    if (*parsed < kEarliestRow || *parsed > kLatestRow) {
      problem = i18n::text(language, "import.outsideYears %@", key);
      return std::nullopt;
    }
    (key[0] == 's' ? row.startedAt : row.endedAt) = *parsed;
  }
  if (row.endedAt < row.startedAt) {
    problem = i18n::text(language, "import.endBeforeStart");
    return std::nullopt;
  }
  const auto seconds = record.find("seconds");
  if (seconds == record.end() || !seconds->is_number() || seconds->get<double>() < 0) {
    problem = i18n::text(language, "import.badSeconds");
    return std::nullopt;
  }
  row.seconds = seconds->get<double>();
  // Totals add up "seconds", so it must be the time between start and end.
  const double interval = secondsBetween(row.startedAt, row.endedAt);
  if (std::fabs(row.seconds - interval) > kSecondsSlack) {
    problem = i18n::text(language, "import.secondsDisagree %@ %@", shortNumberText(row.seconds),
                         shortNumberText(interval));
    return std::nullopt;
  }
  const auto bundle = record.find("bundle_id");
  if (bundle == record.end() || !bundle->is_string() || bundle->get<std::string>().empty()) {
    problem = i18n::text(language, "import.emptyBundleId");
    return std::nullopt;
  }
  std::optional<std::string> bundleId = textField(record, "bundle_id", language, problem);
  if (!bundleId) return std::nullopt;
  row.bundleId = std::move(*bundleId);
  for (auto [key, field] :
       {std::pair{"site", &row.host}, std::pair{"window_title", &row.windowTitle},
        std::pair{"tool", &row.toolName}}) {
    *field = textField(record, key, language, problem);
    if (!problem.empty()) return std::nullopt;
  }
  const std::optional<std::string> app = textField(record, "app", language, problem);
  const std::optional<std::string> reason = textField(record, "end_reason", language, problem);
  if (!problem.empty()) return std::nullopt;
  row.appName = app.value_or(row.bundleId);
  row.endReasonRaw = reason.value_or(std::string(rawValue(SegmentEndReason::manual)));
  const std::optional<SegmentEndReason> endReason = segmentEndReasonFromRaw(row.endReasonRaw);
  if (!endReason) {
    problem = i18n::text(language, "import.badEndReason %@",
                         nlohmann::json(row.endReasonRaw)
                             .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    return std::nullopt;
  }
  // The recorder drops shorter stretches. Rows made by hand may be shorter: naming time cuts a
  // stretch at every midnight, into pieces of any length.
  if (*endReason != SegmentEndReason::manual &&
      interval < SegmentRecorder::kMinimumSegmentSeconds) {
    problem = i18n::text(language, "import.tooShort %@",
                         shortNumberText(SegmentRecorder::kMinimumSegmentSeconds));
    return std::nullopt;
  }
  // The recorder cuts every stretch at its safety cap, so a longer row would put more time into
  // its day than any recording could.
  if (*endReason != SegmentEndReason::manual &&
      interval > SegmentRecorder::kSafetyCapSeconds + kSecondsSlack) {
    problem = i18n::text(language, "import.tooLong %@",
                         shortNumberText(SegmentRecorder::kSafetyCapSeconds / 3600));
    return std::nullopt;
  }
  row.id = Uuid::random();
  row.dayKey = calendar.dayKey(row.startedAt);
  return row;
}

}  // namespace

Result<ImportOutcome> importSegments(SegmentStore& store, std::istream& in,
                                     const Calendar& calendar, const ImportProgress& progress,
                                     std::string_view language) {
  sql::Database& db = store.persistence().database();
  // Each record is stored as soon as it is parsed and checked, in one transaction that only
  // the end of a well-formed file commits: the parsed file never sits in memory whole, and a
  // malformed record, a failure or a kill leaves the store as it was.
  SegmentStore::Bulk bulk(store);
  if (!bulk.began()) return Error{bulk.began().error()};
  // Rows stored before the import match within the second an export cuts to; rows of this
  // import (a rowid above the largest before it) only when identical.
  std::int64_t storedBefore = 0;
  {
    Result<sql::Statement> before = db.prepare("SELECT ifnull(max(rowid), 0) FROM segment");
    if (!before) return Error{before.error()};
    if (Result<bool> row = before->step(); !row) return Error{row.error()};
    storedBefore = before->int64(0);
  }
  Result<sql::Statement> exists = db.prepare(
      "SELECT 1 FROM segment WHERE started_us BETWEEN ?1 AND ?1 + 999999 "
      "AND ended_us BETWEEN ?2 AND ?2 + 999999 AND bundle_id = ?3 "
      "AND (rowid <= ?4 OR (started_us = ?1 AND ended_us = ?2)) LIMIT 1");
  if (!exists) return Error{exists.error()};
  ImportOutcome outcome;
  std::set<std::string> filledDays;
  std::int64_t index = 0;
  std::string failure;
  bool topIsArray = false;
  auto onEvent = [&](int depth, nlohmann::json::parse_event_t event, nlohmann::json& parsed) {
    using Event = nlohmann::json::parse_event_t;
    if (depth == 0 && event == Event::array_start) topIsArray = true;
    if (!topIsArray || depth != 1 ||
        (event != Event::object_end && event != Event::value && event != Event::array_end)) {
      return true;
    }
    if (!failure.empty()) return false;
    ++index;
    std::string problem;
    std::optional<Segment> row = segmentOf(parsed, calendar, language, problem);
    if (!row) {
      failure = i18n::text(language, "import.record %@ %@", std::to_string(index), problem);
      return false;
    }
    exists->reset();
    exists->bind(1, unixMicros(row->startedAt))
        .bind(2, unixMicros(row->endedAt))
        .bind(3, std::string_view(row->bundleId))
        .bind(4, storedBefore);
    const Result<bool> found = exists->step();
    exists->reset();
    if (!found) {
      failure = found.error();
    } else if (*found) {
      ++outcome.skipped;
    } else if (Status added = bulk.add(*row); !added) {
      failure = added.error();
    } else {
      ++outcome.added;
      if (filledDays.empty() || *filledDays.rbegin() != row->dayKey) {
        filledDays.insert(row->dayKey);
      }
    }
    if (progress.read && index % kImportProgressEvery == 0) progress.read(index);
    return false;
  };
  try {
    const nlohmann::json top = nlohmann::json::parse(in, onEvent);
    if (failure.empty() && (!topIsArray || !top.is_array())) {
      failure = i18n::text(language, "import.notList");
    }
  } catch (const nlohmann::json::parse_error& error) {
    if (failure.empty()) {
      failure = i18n::text(language, "import.notJson %@ %@", std::to_string(index),
                           std::to_string(error.byte));
    }
  } catch (const nlohmann::json::exception&) {
    // A number too large for a double, for one.
    if (failure.empty()) {
      failure = i18n::text(language, "import.notJsonAfter %@", std::to_string(index));
    }
  } catch (const std::ios_base::failure&) {
    // The stream's buffer throws when reading fails (a folder, an I/O error), whatever the
    // stream's exception mask says.
    failure = i18n::text(language, "import.readFailed %@", std::to_string(index));
  }
  if (!failure.empty()) return Error{failure};
  if (outcome.added > 0) {
    // What the first report needs, built now in the same transaction instead of by that
    // report: the totals and the summaries of the days the rows fall in.
    if (progress.summing) progress.summing(static_cast<std::int64_t>(filledDays.size()));
    UsageSource source(store, calendar);
    if (Status settled = source.aggregates().rebuildMarkedDays(); !settled) {
      return Error{settled.error()};
    }
    const std::vector<std::string> days(filledDays.begin(), filledDays.end());
    if (Status summarized = source.summarizeStoredDays(days); !summarized) {
      return Error{summarized.error()};
    }
    if (Status committed = bulk.commit(); !committed) return Error{committed.error()};
  }
  if (progress.read) progress.read(index);
  return outcome;
}

}  // namespace velto
