#include "cli/commands/report_session.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "app/service_set.h"
#include "base/log.h"
#include "base/strings.h"
#include "categories/category_seed_location.h"

namespace velto::cli {

namespace {

std::shared_ptr<const CategoryResolver> loadResolver(SegmentStore& store,
                                                     const CategoryCatalog& catalog) {
  auto seed = std::make_shared<const CategorySeed>(loadShippedCategorySeed());
  Result<std::vector<CategoryRule>> rules = store.categoryRules();
  if (!rules) {
    log::error("Could not read category rules: %{public}s", rules.error());
    return std::make_shared<const CategoryResolver>(
        CategoryResolver::build({}, catalog, std::move(seed)));
  }
  return std::make_shared<const CategoryResolver>(
      CategoryResolver::build(*rules, catalog, std::move(seed)));
}

}  // namespace

void waitForOtherWriters(sql::Database& db, const std::string& language) {
  db.setBusyTimeout(kCommandBusyWaitMs);
  db.setBusyNotice(1000, [language] { complain(i18n::text(language, "cli.store.waiting")); });
}

std::string storeFailureText(const std::string& language, const std::string& error) {
  if (sql::isBusyError(error)) return i18n::text(language, "cli.store.busy");
  return i18n::text(language, "cli.storeFailed %@", error);
}

ReportSession::ReportSession(std::string lang)
    : language(std::move(lang)),
      calendar(Calendar::current()),
      settings(defaultServicePaths().settingsFile, notices),
      persistence(defaultServicePaths().dataFolder),
      store(persistence, calendar, notices),
      catalog(settings, notices),
      resolver(loadResolver(store, catalog)),
      directory(CategoryDirectory::of(catalog, language)) {
  waitForOtherWriters(persistence.database(), language);
}

bool ParsedOptions::has(const std::string& flag) const {
  return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

Result<ParsedOptions> parseOptions(const std::vector<std::string>& args,
                                   const std::vector<std::string>& valued,
                                   const std::vector<std::string>& bare) {
  ParsedOptions options;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (std::find(valued.begin(), valued.end(), arg) != valued.end()) {
      if (i + 1 >= args.size()) return Error{arg};
      options.values[arg] = args[++i];
    } else if (std::find(bare.begin(), bare.end(), arg) != bare.end()) {
      options.flags.push_back(arg);
    } else if (!arg.starts_with("-") ||
               (arg.size() > 1 && std::isdigit(static_cast<unsigned char>(arg[1])))) {
      // "-1h" is a (negative) value, refused by whoever reads it, not an unknown option.
      options.positional.push_back(arg);
    } else {
      return Error{arg};
    }
  }
  return options;
}

Result<ReportPeriod> periodFromOptions(const ParsedOptions& options, const Calendar& calendar,
                                       Instant now) {
  auto dayOf = [&](const std::string& name) -> Result<Instant> {
    const std::optional<Instant> start = calendar.startOfDayKey(options.values.at(name));
    if (!start) return Error{name + " " + options.values.at(name)};
    return *start + std::chrono::hours(12);
  };
  if (options.values.contains("--preset")) {
    const std::optional<RangePreset> preset = rangePresetFromRaw(options.values.at("--preset"));
    if (!preset) return Error{"--preset " + options.values.at("--preset")};
    return presetPeriod(*preset, calendar, now);
  }
  if (options.values.contains("--from") || options.values.contains("--to")) {
    if (!options.values.contains("--from") || !options.values.contains("--to")) {
      return Error{options.values.contains("--from") ? "--to" : "--from"};
    }
    Result<Instant> from = dayOf("--from");
    if (!from) return Error{from.error()};
    Result<Instant> to = dayOf("--to");
    if (!to) return Error{to.error()};
    return customPeriod(*from, *to, calendar, now);
  }
  PeriodKind kind = PeriodKind::day;
  if (options.values.contains("--period")) {
    const std::optional<PeriodKind> named = periodKindFromRaw(options.values.at("--period"));
    if (!named || *named == PeriodKind::custom) {
      return Error{"--period " + options.values.at("--period")};
    }
    kind = *named;
  }
  Instant anchor = now;
  if (options.values.contains("--date")) {
    Result<Instant> day = dayOf("--date");
    if (!day) return Error{day.error()};
    anchor = *day;
  }
  return periodContaining(kind, anchor, calendar, now);
}

std::optional<UsageFigures> figuresForOptions(ReportSession& session, const ParsedOptions& options,
                                              int& status) {
  const std::string& language = session.language;
  const Instant now = session.clock.now();
  Result<ReportPeriod> period = periodFromOptions(options, session.calendar, now);
  if (!period) {
    complain(i18n::text(language, "cli.badOption %@", period.error()));
    status = 2;
    return std::nullopt;
  }
  UsageSource source(session.store, session.calendar);
  FigureInputs inputs{session.calendar, *session.resolver, session.directory, language, now,
                      std::nullopt,     Uuid::random()};
  Result<std::vector<CategoryRule>> rules = session.store.categoryRules();
  inputs.categoriesUseTitles = !rules || hasKeywordRules(*rules);
  Result<UsageFigures> figures = buildFigures(source, *period, inputs);
  if (!figures) {
    complain(i18n::text(language, "cli.report.failed %@", figures.error()));
    status = 1;
    return std::nullopt;
  }
  return std::move(figures).value();
}

void complain(const std::string& text) {
  std::fputs(text.c_str(), stderr);
  std::fputc('\n', stderr);
}

}  // namespace velto::cli
