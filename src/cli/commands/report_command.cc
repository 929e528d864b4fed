// `velto report`: the figures of a day, week, month, year or range, as text or --json.
#include <cstdio>

#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/report_session.h"
#include "reports/report_json.h"
#include "reports/usage_report.h"

namespace velto::cli {

namespace {

const std::vector<std::string> kValued = {"--period", "--date", "--from", "--to", "--preset"};

int runReport(const Invocation& invocation) {
  const std::string& language = invocation.language;
  Result<ParsedOptions> options = parseOptions(invocation.args, kValued, {"--json"});
  if (!options || !options->positional.empty()) {
    complain(i18n::text(language, "cli.badOption %@",
                        options ? options->positional.front() : options.error()));
    return 2;
  }
  ReportSession session(language);
  const Instant now = session.clock.now();
  Result<ReportPeriod> period = periodFromOptions(*options, session.calendar, now);
  if (!period) {
    complain(i18n::text(language, "cli.badOption %@", period.error()));
    return 2;
  }
  UsageSource source(session.store, session.calendar);
  FigureInputs inputs{session.calendar, *session.resolver, session.directory, language, now,
                      std::nullopt,     Uuid::random()};
  Result<std::vector<CategoryRule>> rules = session.store.categoryRules();
  inputs.categoriesUseTitles = !rules || hasKeywordRules(*rules);
  Result<UsageFigures> figures = buildFigures(source, *period, inputs);
  if (!figures) {
    complain(i18n::text(language, "cli.report.failed %@", figures.error()));
    return 1;
  }
  const std::string out = options->has("--json")
                              ? reportJson(*figures, session.calendar).dump(2) + "\n"
                              : reportText(*figures, language);
  std::fputs(out.c_str(), stdout);
  return 0;
}

const Registration registration(Command{"report", "cli.report.summary", "cli.report.help",
                                        runReport});

}  // namespace

}  // namespace velto::cli
