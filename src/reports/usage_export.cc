#include "reports/usage_export.h"

#include <charconv>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <tuple>

#include "base/iso8601.h"
#include "base/strings.h"
#include "recording/off_computer.h"

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
  // dailyApps: the current day's applications, written when the day changes.
  struct DayApp {
    std::string app;
    Micros micros = 0;
  };
  std::string day;
  std::map<std::string, DayApp> dayApps;
  std::vector<Field> fields;
  auto flushDay = [&] {
    for (const auto& [bundleId, entry] : dayApps) {
      const std::string category(labels.category(bundleId, std::nullopt, std::nullopt));
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
      DayApp& entry = dayApps[bundleId];
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

std::optional<std::string> optionalText(const nlohmann::json& record, const char* key,
                                        std::string& problem) {
  const auto found = record.find(key);
  if (found == record.end() || found->is_null()) return std::nullopt;
  if (!found->is_string()) {
    problem = std::string("\"") + key + "\" must be text";
    return std::nullopt;
  }
  std::string text = found->get<std::string>();
  if (text.empty()) return std::nullopt;
  return text;
}

std::optional<Segment> segmentOf(const nlohmann::json& record, const Calendar& calendar,
                                 std::string& problem) {
  if (!record.is_object()) {
    problem = "not an object";
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
      problem = std::string("\"") + key + "\" is not an ISO 8601 date-time";
      return std::nullopt;
    }
    (key[0] == 's' ? row.startedAt : row.endedAt) = *parsed;
  }
  if (row.endedAt < row.startedAt) {
    problem = "\"end\" is before \"start\"";
    return std::nullopt;
  }
  const auto seconds = record.find("seconds");
  if (seconds == record.end() || !seconds->is_number() || seconds->get<double>() < 0) {
    problem = "\"seconds\" must be a number of seconds";
    return std::nullopt;
  }
  row.seconds = seconds->get<double>();
  const auto bundle = record.find("bundle_id");
  if (bundle == record.end() || !bundle->is_string() || bundle->get<std::string>().empty()) {
    problem = "\"bundle_id\" must be non-empty text";
    return std::nullopt;
  }
  row.bundleId = bundle->get<std::string>();
  row.appName = optionalText(record, "app", problem).value_or(row.bundleId);
  row.host = optionalText(record, "site", problem);
  row.windowTitle = optionalText(record, "window_title", problem);
  row.toolName = optionalText(record, "tool", problem);
  row.endReasonRaw = optionalText(record, "end_reason", problem).value_or("manual");
  if (!problem.empty()) return std::nullopt;
  row.id = Uuid::random();
  row.dayKey = calendar.dayKey(row.startedAt);
  return row;
}

}  // namespace

Result<ImportOutcome> importSegments(SegmentStore& store, std::istream& in,
                                     const Calendar& calendar,
                                     const std::function<void(std::int64_t read)>& progress) {
  sql::Database& db = store.persistence().database();
  Result<sql::Statement> exists = db.prepare(
      "SELECT 1 FROM segment WHERE started_us BETWEEN ?1 AND ?1 + 999999 "
      "AND ended_us BETWEEN ?2 AND ?2 + 999999 AND bundle_id = ?3 LIMIT 1");
  if (!exists) return Error{exists.error()};
  std::vector<Segment> rows;
  std::set<std::tuple<Micros, Micros, std::string>> seen;
  ImportOutcome outcome;
  std::int64_t index = 0;
  std::string failure;
  bool topIsArray = false;
  // Each record is handled as soon as it is parsed and then dropped, so the parsed file never
  // sits in memory whole.
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
    std::optional<Segment> row = segmentOf(parsed, calendar, problem);
    if (!row) {
      failure = "record " + std::to_string(index) + ": " + problem;
      return false;
    }
    const auto key =
        std::make_tuple(unixMicros(row->startedAt), unixMicros(row->endedAt), row->bundleId);
    exists->reset();
    exists->bind(1, std::get<0>(key))
        .bind(2, std::get<1>(key))
        .bind(3, std::string_view(row->bundleId));
    const Result<bool> found = exists->step();
    if ((found && *found) || !seen.insert(key).second) {
      ++outcome.skipped;
    } else {
      rows.push_back(std::move(*row));
    }
    if (progress && index % 20000 == 0) progress(index);
    return false;
  };
  try {
    const nlohmann::json top = nlohmann::json::parse(in, onEvent);
    if (!topIsArray || !top.is_array()) failure = "the file does not hold a list of records";
  } catch (const nlohmann::json::parse_error& error) {
    if (failure.empty()) {
      failure = "not JSON after record " + std::to_string(index) + " (byte " +
                std::to_string(error.byte) + ")";
    }
  }
  exists->reset();
  if (!failure.empty()) return Error{failure};
  if (!rows.empty()) {
    if (Status stored = store.insertRows(rows); !stored) return Error{stored.error()};
  }
  outcome.added = static_cast<std::int64_t>(rows.size());
  if (progress) progress(index);
  return outcome;
}

}  // namespace velto
