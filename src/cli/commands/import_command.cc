// `velto import FILE`: rows of a segments JSON export back into the store, in one transaction.
// On a terminal, stderr shows one progress line: the records read, then the days added up.
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "base/files.h"
#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/report_session.h"
#include "reports/usage_export.h"

namespace velto::cli {

namespace {

std::string_view problemKey(files::ReadProblem problem) {
  switch (problem) {
    case files::ReadProblem::missing:
      return "cli.import.missing %@";
    case files::ReadProblem::folder:
      return "cli.import.folder %@";
    case files::ReadProblem::notRegularFile:
      return "cli.import.notFile %@";
    case files::ReadProblem::denied:
      return "cli.import.denied %@";
    case files::ReadProblem::other:
      break;
  }
  return "cli.import.unreadable %@";
}

int runImport(const Invocation& invocation) {
  const std::string& language = invocation.language;
  if (invocation.args.size() != 1 || invocation.args.front().starts_with("-")) {
    complain(i18n::text(language, "cli.import.usage"));
    return 2;
  }
  const std::string& path = invocation.args.front();
  // Checked before opening: a folder would fail only once read, and a FIFO would block the open.
  if (const std::optional<files::ReadProblem> problem = files::readableFileProblem(path)) {
    complain(i18n::text(language, problemKey(*problem), path));
    return 1;
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    complain(i18n::text(language, "cli.import.unreadable %@", path));
    return 1;
  }
  ReportSession session(language);
  const bool showProgress = isatty(STDERR_FILENO) == 1;
  ImportProgress progress;
  if (showProgress) {
    // One line, rewritten in place (and cleared to its end, as the texts differ in length).
    auto show = [](const std::string& text) {
      std::fputs(("\r" + text + "\x1b[K").c_str(), stderr);
      std::fflush(stderr);
    };
    progress.read = [&language, show](std::int64_t read) {
      show(i18n::text(language, "cli.import.progress %@", std::to_string(read)));
    };
    progress.summing = [&language, show](std::int64_t days) {
      show(i18n::text(language, "cli.import.summing %@", std::to_string(days)));
    };
  }
  Result<ImportOutcome> outcome =
      importSegments(session.store, file, session.calendar, progress, language);
  if (showProgress) std::fputc('\n', stderr);
  if (!outcome) {
    complain(sql::isBusyError(outcome.error())
                 ? i18n::text(language, "cli.store.busy")
                 : i18n::text(language, "cli.import.failed %@", outcome.error()));
    return 1;
  }
  complain(i18n::text(language, "cli.import.done %@ %@", std::to_string(outcome->added),
                      std::to_string(outcome->skipped)));
  return 0;
}

const Registration registration(Command{"import", "cli.import.summary", "cli.import.help",
                                        runImport});

}  // namespace

}  // namespace velto::cli
