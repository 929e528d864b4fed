#include "gui/report/export_job.h"

#include <fstream>
#include <system_error>

#include "base/log.h"

namespace velto::gui {

std::optional<DateInterval> exportInterval(ExportRange range, const DateInterval& shown,
                                           const Calendar& calendar, Instant now) {
  switch (range) {
    case ExportRange::shown:
      return shown;
    case ExportRange::last30:
      return presetPeriod(RangePreset::last30, calendar, now).interval;
    case ExportRange::everything:
      break;
  }
  return std::nullopt;
}

std::string suggestedExportName(const ExportChoices& choices, const Calendar& calendar,
                                Instant now) {
  return "velto-" + std::string(rawValue(choices.detail)) + "-" + calendar.dayKey(now) + "." +
         std::string(rawValue(choices.format));
}

Result<std::int64_t> exportToFile(
    ServiceSet& services, const ExportChoices& choices, const DateInterval& shown,
    const std::filesystem::path& file,
    std::function<void(std::int64_t done, std::int64_t total)> progress) {
  const Instant now = services.clock().now();
  const std::string language = services.language();
  const std::shared_ptr<const CategoryResolver> resolver = services.categoryResolver();
  const CategoryDirectory directory = CategoryDirectory::of(services.categories(), language);
  const ExportRequest request{exportInterval(choices.range, shown, services.calendar(), now),
                              choices.detail, choices.format};
  const ExportContext context{services.calendar(), *resolver, directory, language,
                              std::move(progress)};

  std::filesystem::path partial = file;
  partial += ".part";
  std::ofstream out(partial, std::ios::binary | std::ios::trunc);
  if (!out) return Error{"cannot open " + partial.string()};
  Result<std::int64_t> written = writeExport(services.store(), request, context, out);
  out.close();
  std::error_code error;
  if (!written || !out) {
    std::filesystem::remove(partial, error);
    return written ? Error{"cannot write " + partial.string()} : written;
  }
  std::filesystem::rename(partial, file, error);
  if (error) {
    std::filesystem::remove(partial, error);
    return Error{"cannot rename to " + file.string()};
  }
  return written;
}

}  // namespace velto::gui
