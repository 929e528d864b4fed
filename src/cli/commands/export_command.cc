// `velto export`: recorded time as CSV or JSON, to a file or stdout.
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>

#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/report_session.h"
#include "reports/usage_export.h"

namespace velto::cli {

namespace {

const std::vector<std::string> kValued = {"--period", "--date",   "--from",   "--to",    "--preset",
                                          "--range",  "--detail", "--format", "--output"};

int runExport(const Invocation& invocation) {
  const std::string& language = invocation.language;
  Result<ParsedOptions> options = parseOptions(invocation.args, kValued, {});
  if (!options || !options->positional.empty()) {
    complain(i18n::text(language, "cli.badOption %@",
                        options ? options->positional.front() : options.error()));
    return 2;
  }
  auto value = [&](const std::string& name, const char* fallback) {
    auto found = options->values.find(name);
    return found == options->values.end() ? std::string(fallback) : found->second;
  };
  const std::optional<ExportRange> range = exportRangeFromRaw(value("--range", "shown"));
  const std::optional<ExportDetail> detail = exportDetailFromRaw(value("--detail", "segments"));
  const std::optional<ExportFormat> format = exportFormatFromRaw(value("--format", "csv"));
  if (!range || !detail || !format) {
    const std::string bad = !range    ? "--range " + value("--range", "")
                            : !detail ? "--detail " + value("--detail", "")
                                      : "--format " + value("--format", "");
    complain(i18n::text(language, "cli.badOption %@", bad));
    return 2;
  }
  ReportSession session(language);
  const Instant now = session.clock.now();
  ExportRequest request{std::nullopt, *detail, *format};
  if (*range == ExportRange::shown) {
    Result<ReportPeriod> period = periodFromOptions(*options, session.calendar, now);
    if (!period) {
      complain(i18n::text(language, "cli.badOption %@", period.error()));
      return 2;
    }
    request.interval = period->interval;
  } else if (*range == ExportRange::last30) {
    request.interval = presetPeriod(RangePreset::last30, session.calendar, now).interval;
  }

  std::ofstream file;
  std::ostream* out = &std::cout;
  if (options->values.contains("--output")) {
    file.open(options->values.at("--output"), std::ios::binary | std::ios::trunc);
    if (!file) {
      complain(i18n::text(language, "export.writeFailed"));
      return 1;
    }
    out = &file;
  }
  const bool showProgress = isatty(STDERR_FILENO) == 1;
  ExportContext context{session.calendar, *session.resolver, session.directory, language, {}};
  if (showProgress) {
    context.progress = [&](std::int64_t done, std::int64_t total) {
      const std::string line = "\r" + i18n::text(language, "cli.export.progress %@ %@",
                                                 std::to_string(done), std::to_string(total));
      std::fputs(line.c_str(), stderr);
    };
  }
  Result<std::int64_t> written = writeExport(session.store, request, context, *out);
  if (showProgress) std::fputc('\n', stderr);
  if (!written) {
    complain(i18n::text(language, "export.writeFailed"));
    complain(written.error());
    return 1;
  }
  return 0;
}

const Registration registration(Command{"export",
                                        "cli.export.summary",
                                        "cli.export.help",
                                        runExport,
                                        {"--range", "--detail", "--format", "--output", "--period",
                                         "--date", "--from", "--to", "--preset"}});

}  // namespace

}  // namespace velto::cli
