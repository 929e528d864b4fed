// Report, export and import speed over a synthetic year of about 1,000,000 segments (Zipf-like
// applications, thousands of hosts and titles) ending at "now", late in the evening, in one run:
//   BM_RawScan            every row of the year read from SQLite (the cost the aggregates avoid)
//   BM_Report/<kind>      day, week, month and year reports from the aggregates (warm: the
//                         per-day summaries were cached by an earlier report), and the first
//                         year report after a change of every day (cold)
//   BM_ReportAfterInsert  day and year in progress, reloaded after each new row of today
//   BM_YearAppDetails     every application's detail rows for the year in progress
//   BM_ExportCsv          CSV export of everything, with the growth of peak memory
//   BM_ImportJson         import of a JSON export of the last VELTO_BENCH_IMPORT_DAYS days
//                         (default 30; 366 takes the whole history) into an empty store, and
//                         the first report of the imported stretch afterwards
//   BM_OpenStore          opening the store and its report source, as every command does
//
// VELTO_BENCH_DAYS (default 365) sets the history's length. VELTO_BENCH_STORE names a folder
// whose store is kept after the run and reused by the next one (loading a year takes minutes).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "base/log.h"
#include "base/notice_bus.h"
#include "reports/usage_export.h"
#include "reports/usage_report.h"
#include "store/segment_store.h"
#include "synthetic_year.h"

namespace velto {
namespace {

int historyDays() {
  const char* days = std::getenv("VELTO_BENCH_DAYS");
  return days != nullptr ? std::max(1, std::atoi(days)) : 365;
}

// Resident-memory figures of this process in MB ("VmRSS", "VmHWM").
double statusMegabytes(const std::string& field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.starts_with(field + ":")) return std::stod(line.substr(field.size() + 1)) / 1024.0;
  }
  return 0;
}

void resetPeakMemory() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

struct Year {
  Year() {
    log::setSinks({});
    if (const char* kept = std::getenv("VELTO_BENCH_STORE")) {
      folder = kept;
      keep = true;
    }
    const bool reuse = keep && std::filesystem::exists(folder / "Velto.sqlite");
    if (!reuse) std::filesystem::remove_all(folder);
    persistence = std::make_unique<PersistenceController>(folder);
    store = std::make_unique<SegmentStore>(*persistence, calendar, bus);
    const auto begin = std::chrono::steady_clock::now();
    rows = reuse ? storedRows() : static_cast<double>(loadHistory());
    loadSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    source = std::make_unique<UsageSource>(*store, calendar);
  }
  ~Year() {
    if (!keep) std::filesystem::remove_all(folder);
  }

  double storedRows() {
    Result<sql::Statement> count = persistence->database().prepare("SELECT count(*) FROM segment");
    if (!count || !count->step()) std::abort();
    return static_cast<double>(count->int64(0));
  }

  size_t loadHistory() {
    // Whole days up to yesterday and today until now, as a recorder would have left them.
    std::vector<Segment> history =
        bench::zipfDays(calendar, calendar.addDays(now, 1), historyDays());
    std::erase_if(history, [&](const Segment& row) { return row.endedAt > now; });
    const size_t count = history.size();
    if (!store->insertRows(history)) std::abort();
    return count;
  }

  Result<UsageFigures> report(PeriodKind kind, Instant anchor) {
    FigureInputs inputs{calendar, resolver, directory, "en", now, std::nullopt, Uuid()};
    inputs.categoriesUseTitles = false;  // no keyword rules
    return buildFigures(*source, periodContaining(kind, anchor, calendar, now), inputs);
  }

  std::filesystem::path folder = std::filesystem::temp_directory_path() / "velto-bench-report";
  Calendar calendar = *Calendar::named("Europe/Berlin");
  NoticeBus bus;
  std::unique_ptr<PersistenceController> persistence;
  std::unique_ptr<SegmentStore> store;
  std::unique_ptr<UsageSource> source;
  CategoryResolver resolver;
  CategoryDirectory directory = CategoryDirectory::builtIn("en");
  // Late in the evening, so the in-progress day is nearly full.
  Instant now =
      Instant(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21)) + std::chrono::hours(21);
  double rows = 0;
  double loadSeconds = 0;
  bool keep = false;
};

Year& year() {
  static Year shared;  // its folder goes when the program ends
  return shared;
}

void BM_RawScan(benchmark::State& state) {
  Year& y = year();
  for (auto _ : state) {
    Result<std::vector<Segment>> rows =
        y.store->fetchOverlapping(y.calendar.addDays(y.now, -366), y.now);
    if (!rows) state.SkipWithError("scan failed");
    benchmark::DoNotOptimize(rows);
  }
  state.counters["rows"] = y.rows;
  state.counters["load_s"] = y.loadSeconds;
}
BENCHMARK(BM_RawScan)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_Report(benchmark::State& state) {
  Year& y = year();
  const auto kind = static_cast<PeriodKind>(state.range(0));
  const bool finished = state.range(1) != 0;
  // A finished period: the one before the period containing now.
  const Instant anchor =
      finished
          ? y.calendar.addDays(periodContaining(kind, y.now, y.calendar, y.now).interval.start, -1)
          : y.now;
  if (!y.report(kind, anchor)) state.SkipWithError("report failed");  // fills the day cache
  for (auto _ : state) {
    Result<UsageFigures> figures = y.report(kind, anchor);
    benchmark::DoNotOptimize(figures);
  }
  state.SetLabel(std::string(rawValue(kind)) + (finished ? " finished" : " in progress"));
}
BENCHMARK(BM_Report)
    ->ArgsProduct({{0, 1, 2, 3}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(0.5);

// The reload of a report in progress after the recorder stored one more row of today: what the
// report window does while recording.
void BM_ReportAfterInsert(benchmark::State& state) {
  Year& y = year();
  const auto kind = static_cast<PeriodKind>(state.range(0));
  if (!y.report(kind, y.now)) state.SkipWithError("report failed");
  std::vector<Uuid> added;
  Instant cursor = addSeconds(y.now, -1800);
  for (auto _ : state) {
    state.PauseTiming();
    Segment row;
    row.id = Uuid::random();
    row.startedAt = cursor;
    row.endedAt = addSeconds(cursor, 1);
    row.seconds = 1;
    row.bundleId = "app7";
    row.appName = "App 7";
    row.dayKey = y.calendar.dayKey(cursor);
    cursor = row.endedAt;
    if (!y.store->insertRows({&row, 1})) state.SkipWithError("insert failed");
    added.push_back(row.id);
    state.ResumeTiming();
    benchmark::DoNotOptimize(y.report(kind, y.now));
  }
  (void)y.store->deleteSegments(added);
  state.SetLabel(std::string(rawValue(kind)) + " in progress, one row added before each");
}
BENCHMARK(BM_ReportAfterInsert)->Arg(0)->Arg(3)->Unit(benchmark::kMillisecond)->Iterations(50);

// The detail rows of every application of the year in progress, as the report window lists
// them when totals are per site (one pass over the details of all applications).
void BM_YearAppDetails(benchmark::State& state) {
  Year& y = year();
  const DateInterval counted =
      countedInterval(periodContaining(PeriodKind::year, y.now, y.calendar, y.now), y.now);
  double rows = 0;
  for (auto _ : state) {
    Result<std::vector<ContextTotal>> every = y.source->appDetails(counted, {}, std::nullopt);
    if (!every) state.SkipWithError("details failed");
    rows = every ? static_cast<double>(every->size()) : 0;
    benchmark::DoNotOptimize(every);
  }
  state.counters["totals"] = rows;
}
BENCHMARK(BM_YearAppDetails)->Unit(benchmark::kMillisecond)->MinTime(0.5);

void BM_YearReportCold(benchmark::State& state) {
  Year& y = year();
  for (auto _ : state) {
    state.PauseTiming();
    (void)y.persistence->database().exec("DELETE FROM usage_day_cache");
    state.ResumeTiming();
    benchmark::DoNotOptimize(y.report(PeriodKind::year, y.now));
  }
}
BENCHMARK(BM_YearReportCold)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_ExportCsv(benchmark::State& state) {
  Year& y = year();
  const auto file = y.folder / "export.csv";
  double growth = 0;
  double records = 0;
  for (auto _ : state) {
    const double before = statusMegabytes("VmRSS");
    resetPeakMemory();
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    const ExportContext context{y.calendar, y.resolver, y.directory, "en", {}};
    Result<std::int64_t> written = writeExport(*y.store, {std::nullopt}, context, out);
    if (!written) state.SkipWithError("export failed");
    records = static_cast<double>(written.ok() ? *written : 0);
    growth = statusMegabytes("VmHWM") - before;
  }
  state.counters["records"] = records;
  state.counters["peak_growth_MB"] = growth;
  state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(file)) / 1e6;
}
BENCHMARK(BM_ExportCsv)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_ImportJson(benchmark::State& state) {
  Year& y = year();
  const char* daysText = std::getenv("VELTO_BENCH_IMPORT_DAYS");
  const int days = daysText != nullptr ? std::max(1, std::atoi(daysText)) : 30;
  std::stringstream json;
  const ExportContext context{y.calendar, y.resolver, y.directory, "en", {}};
  const DateInterval imported{y.calendar.startOfDay(y.calendar.addDays(y.now, 1 - days)), y.now};
  const ExportRequest request{imported, ExportDetail::segments, ExportFormat::json};
  if (!writeExport(*y.store, request, context, json)) state.SkipWithError("export failed");
  const std::string text = json.str();
  json = {};
  double added = 0;
  double firstReport = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const auto folder = y.folder / "import";
    std::filesystem::remove_all(folder);
    NoticeBus bus;
    PersistenceController persistence(folder);
    SegmentStore store(persistence, y.calendar, bus);
    std::istringstream in(text);
    state.ResumeTiming();
    Result<ImportOutcome> outcome = importSegments(store, in, y.calendar);
    if (!outcome) state.SkipWithError("import failed");
    added = static_cast<double>(outcome.ok() ? outcome->added : 0);
    state.PauseTiming();
    const auto begin = std::chrono::steady_clock::now();
    UsageSource source(store, y.calendar);
    FigureInputs inputs{y.calendar, y.resolver, y.directory, "en", y.now, std::nullopt, Uuid()};
    inputs.categoriesUseTitles = false;
    const ReportPeriod period = customPeriod(imported.start, y.now, y.calendar, y.now);
    if (!buildFigures(source, period, inputs)) state.SkipWithError("report failed");
    firstReport =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
    state.ResumeTiming();
  }
  state.counters["rows"] = added;
  state.counters["first_report_ms"] = firstReport;
}

// What every command pays before it does anything: opening the store and a report source.
void BM_OpenStore(benchmark::State& state) {
  Year& y = year();
  for (auto _ : state) {
    NoticeBus bus;
    PersistenceController persistence(y.folder);
    SegmentStore store(persistence, y.calendar, bus);
    UsageSource source(store, y.calendar);
    benchmark::DoNotOptimize(source.aggregates().installed());
  }
  state.counters["rows"] = y.rows;
}
BENCHMARK(BM_OpenStore)->Unit(benchmark::kMillisecond)->Iterations(20);
BENCHMARK(BM_ImportJson)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace velto

BENCHMARK_MAIN();
