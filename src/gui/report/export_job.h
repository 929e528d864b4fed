// What the export dialog writes: the chosen range, detail and format streamed from the store
// into the file the user picked. The records go to "<file>.part" first and are renamed into
// place once complete, so a failed export leaves no half-written file behind.
// Thread: main thread, with the store.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "app/service_set.h"
#include "reports/usage_export.h"

namespace velto::gui {

struct ExportChoices {
  ExportRange range = ExportRange::shown;
  ExportDetail detail = ExportDetail::segments;
  ExportFormat format = ExportFormat::csv;
};

// The interval a range covers: the report's shown interval, the last 30 days ending today, or
// none (every stored row).
std::optional<DateInterval> exportInterval(ExportRange range, const DateInterval& shown,
                                           const Calendar& calendar, Instant now);

// "velto-segments-2026-11-21.csv": detail, today's day key, the format's extension.
std::string suggestedExportName(const ExportChoices& choices, const Calendar& calendar,
                                Instant now);

// Writes the export; returns the number of records. `progress` may be empty.
Result<std::int64_t> exportToFile(
    ServiceSet& services, const ExportChoices& choices, const DateInterval& shown,
    const std::filesystem::path& file,
    std::function<void(std::int64_t done, std::int64_t total)> progress);

}  // namespace velto::gui
