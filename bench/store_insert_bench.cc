// Single-segment insert latency into a store that already holds a year of history.
//
// VELTO_BENCH_DAYS (default 365) sets the history's length. Reports the median and the 99th
// percentile of 5,000 inserts of alternating contexts, each its own transaction as in recording.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "base/log.h"
#include "base/notice_bus.h"
#include "store/segment_store.h"
#include "synthetic_year.h"

namespace velto {
namespace {

int historyDays() {
  const char* days = std::getenv("VELTO_BENCH_DAYS");
  return days != nullptr ? std::max(1, std::atoi(days)) : 365;
}

void BM_InsertIntoAYearOfHistory(benchmark::State& state) {
  log::setSinks({});
  const auto folder = std::filesystem::temp_directory_path() / "velto-bench-insert";
  std::filesystem::remove_all(folder);
  const Calendar calendar = *Calendar::named("Europe/Berlin");
  NoticeBus bus;
  PersistenceController persistence(folder);
  SegmentStore store(persistence, calendar, bus);
  const Instant now = Instant(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));
  const auto history = bench::syntheticDays(calendar, now, historyDays());
  if (!store.insertRows(history)) state.SkipWithError("could not load the history");

  // Consecutive segments differ, as they do when recording: a few apps and many titles.
  const std::array<std::pair<const char*, const char*>, 4> apps = {
      {{"code", "Code"},
       {"firefox", "Firefox"},
       {"org.gnome.Terminal", "Terminal"},
       {"slack", "Slack"}}};
  std::vector<double> micros;
  for (auto _ : state) {
    micros.clear();
    Instant start = now;
    for (int i = 0; i < 5000; ++i) {
      const Instant end = addSeconds(start, 12);
      const auto begin = std::chrono::steady_clock::now();
      const auto& [bundleId, appName] = apps[i % apps.size()];
      const ActivityContext context{bundleId, appName, "Document " + std::to_string(i % 97),
                                    {},       {},      {}};
      benchmark::DoNotOptimize(store.insert({context, start, end, SegmentEndReason::focusChange}));
      micros.push_back(
          std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin)
              .count());
      start = end;
    }
  }
  std::sort(micros.begin(), micros.end());
  state.counters["history_rows"] = static_cast<double>(history.size());
  state.counters["median_us"] = micros[micros.size() / 2];
  state.counters["p99_us"] = micros[micros.size() * 99 / 100];
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_InsertIntoAYearOfHistory)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velto

BENCHMARK_MAIN();
