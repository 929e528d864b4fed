// `velto report`: the figures of a day, week, month, year or range, as text or --json.
#include <cstdio>

#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/report_session.h"
#include "reports/report_json.h"
#include "reports/usage_report.h"

namespace velto::cli {

namespace {

int runReport(const Invocation& invocation) {
  const std::string& language = invocation.language;
  Result<ParsedOptions> options = parseOptions(invocation.args, kPeriodOptions, {"--json"});
  if (!options || !options->positional.empty()) {
    complain(i18n::text(language, "cli.badOption %@",
                        options ? options->positional.front() : options.error()));
    return 2;
  }
  ReportSession session(language);
  int status = 0;
  const std::optional<UsageFigures> figures = figuresForOptions(session, *options, status);
  if (!figures) return status;
  const std::string out = options->has("--json")
                              ? reportJson(*figures, session.calendar).dump(2) + "\n"
                              : reportText(*figures, language);
  std::fputs(out.c_str(), stdout);
  return 0;
}

const Registration registration(Command{
    "report",
    "cli.report.summary",
    "cli.report.help",
    runReport,
    {"--period", "--date", "--from", "--to", "--preset", "--json"}});

}  // namespace

}  // namespace velto::cli
