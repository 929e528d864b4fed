// `velto summary`: a few written sentences about a day, week, month, year or range, from the
// report's facts by the language model the settings choose; --facts prints the numbered facts.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/report_session.h"
#include "platform/linux/event_loop.h"
#include "platform/linux/event_scheduler.h"
#include "reports/usage_report.h"
#include "summaries/written_summary.h"

namespace velto::cli {

namespace {

void print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fputc('\n', stdout);
}

int runSummary(const Invocation& invocation) {
  const std::string& language = invocation.language;
  Result<ParsedOptions> options =
      parseOptions(invocation.args, kPeriodOptions, {"--json", "--facts"});
  if (!options || !options->positional.empty()) {
    complain(i18n::text(language, "cli.badOption %@",
                        options ? options->positional.front() : options.error()));
    return 2;
  }
  ReportSession session(language);
  int status = 0;
  const std::optional<UsageFigures> figures = figuresForOptions(session, *options, status);
  if (!figures) return status;
  const bool json = options->has("--json");
  // Settled days keep totals per site: an application's details are read from the store.
  UsageSource source(session.store, session.calendar);
  const AppDetailSource details = [&](const std::string& bundleId) {
    Result<std::vector<DetailUsage>> rows = appDetailRows(source, *figures, bundleId);
    return rows ? std::move(rows).value() : std::vector<DetailUsage>{};
  };
  const std::vector<std::string> facts = factLines(summaryFacts(*figures, details), language);
  if (options->has("--facts")) {
    if (json) {
      print(nlohmann::json{{"facts", facts}}.dump(2));
    } else {
      for (size_t i = 0; i < facts.size(); ++i) print(std::to_string(i + 1) + ". " + facts[i]);
    }
    return 0;
  }

  platform::EventLoop loop;
  platform::EventScheduler scheduler(loop);
  Result<std::unique_ptr<LanguageModel>> model =
      languageModelFor(session.settings, scheduler, language);
  if (!model) {
    complain(model.error());
    return 1;
  }
  WrittenSummary summary(**model);
  summary.onChange = [&] {
    if (!summary.working()) loop.exit();
  };
  summary.generate(*figures, language, details);
  if (summary.working()) loop.run();

  if (summary.failure()) {
    complain(i18n::text(language, "cli.summary.failed %@", *summary.failure()));
    return 1;
  }
  if (json) {
    nlohmann::json document;
    document["period"] = figures->label;
    document["facts"] = facts;
    document["sentences"] = summary.sentences();
    document["notice"] = summary.notice() ? nlohmann::json(*summary.notice()) : nlohmann::json();
    print(document.dump(2));
    return 0;
  }
  if (summary.notice()) {
    complain(*summary.notice());
    return 0;
  }
  std::string text;
  for (const std::string& sentence : summary.sentences()) {
    if (!text.empty()) text += ' ';
    text += sentence;
  }
  print(text);
  return 0;
}

const Registration registration(Command{
    "summary",
    "cli.summary.summary",
    "cli.summary.help",
    runSummary,
    {"--period", "--date", "--from", "--to", "--preset", "--facts", "--json"}});

}  // namespace

}  // namespace velto::cli
