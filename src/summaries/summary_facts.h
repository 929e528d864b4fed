// The facts a written summary of a report may use: figures and names taken from the report of
// the period shown, never window titles or raw rows. They are handed to a language model as a
// numbered list together with instructions that forbid adding anything.
//
// Durations are seconds; the busiest hour is a local clock hour (0-23). Texts are written in the
// interface language given, durations by DurationText exactly as the screens write them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "reports/usage_report.h"

namespace velto {

struct SummaryFacts {
  struct Entry {
    std::string name;
    double seconds = 0;
    std::vector<std::string> details;  // an application's first in-app details, at most two
    bool operator==(const Entry&) const = default;
  };

  std::string periodLabel;
  double totalSeconds = 0;
  // Change of the total against the earlier period in whole percent, halves away from zero;
  // none when the earlier period holds no time.
  std::optional<long long> totalChangePercent;
  std::string comparisonName;           // "yesterday by this time", ...
  std::vector<Entry> categories;        // the report's first three
  std::vector<Entry> apps;              // the report's first five
  std::optional<Entry> longestStretch;  // name: the application
  std::optional<std::int64_t> switches;
  std::optional<int> busiestHour;
  std::optional<double> awaySeconds;  // labelled time away from the computer

  bool operator==(const SummaryFacts&) const = default;
};

// An application's detail rows, most time first (UsageReport::detailRows, appDetailRows).
using AppDetailSource = std::function<std::vector<DetailUsage>(const std::string& bundleId)>;

// The facts of a report. Category and application names are the ones the report shows. An
// application's details come from `details`; without it from the figures' own contexts, which
// hold none for settled days (totals per site), so callers with such figures pass a source.
SummaryFacts summaryFacts(const UsageFigures& figures, const AppDetailSource& details = {});

// round((current − previous) / previous × 100) with halves away from zero; none when
// `previous` is not above zero.
std::optional<long long> totalChangePercent(double current, double previous);

// One line per fact, in the fixed order: period, total, change, categories, applications,
// longest stretch, switches, busiest hour, time away.
std::vector<std::string> factLines(const SummaryFacts& facts, std::string_view language);

// "Facts:\n1. …\n2. …"; empty when there are no facts (no request is made then).
std::string summaryPrompt(const std::vector<std::string>& lines);

// The model's system instructions, asking for sentences in `language` ("de": "German").
std::string summaryInstructions(std::string_view language);

// The English name of an interface language code; "English" when none is known.
std::string englishLanguageName(std::string_view language);

// "14:00".
std::string clockHourText(int hour);

}  // namespace velto
