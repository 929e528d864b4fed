#include "summaries/summary_facts.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <cmath>
#include <cstdio>

#include "base/strings.h"
#include "reports/duration_text.h"

namespace velto {

namespace {

constexpr size_t kCategoryFacts = 3;
constexpr size_t kAppFacts = 5;
constexpr size_t kDetailsPerApp = 2;

constexpr std::string_view kInstructionsOpening =
    "You summarise how someone spent time on their computer, from a numbered list of facts.\n"
    "Use only the facts. Never add a number, an app, a site or a reason that is not in them, and "
    "copy durations exactly as written.\n"
    "A percentage only ever describes the total time, never a category or an app.\n"
    "Do not judge the day: no \"productive\", \"wasted\", \"good\" or \"bad\".\n"
    "Write at most three short sentences, in ";
constexpr std::string_view kInstructionsClosing =
    ". Speak to the reader directly in the second person singular (the person whose day it is), "
    "never in the first person.";

std::string joined(const std::vector<std::string>& items, std::string_view separator) {
  std::string text;
  for (const std::string& item : items) {
    if (!text.empty()) text += separator;
    text += item;
  }
  return text;
}

}  // namespace

std::optional<long long> totalChangePercent(double current, double previous) {
  if (!(previous > 0)) return std::nullopt;
  // llround rounds halfway cases away from zero: -12.5 gives -13.
  return std::llround((current - previous) / previous * 100);
}

SummaryFacts summaryFacts(const UsageFigures& f, const AppDetailSource& detailsOf) {
  SummaryFacts facts;
  facts.periodLabel = f.label;
  facts.totalSeconds = f.totalSeconds;
  facts.totalChangePercent = totalChangePercent(f.totalSeconds, f.previousTotalSeconds);
  facts.comparisonName = f.comparisonName;
  for (size_t i = 0; i < f.byCategory.size() && i < kCategoryFacts; ++i) {
    facts.categories.push_back({f.byCategory[i].name, f.byCategory[i].seconds, {}});
  }
  for (size_t i = 0; i < f.byApp.size() && i < kAppFacts; ++i) {
    SummaryFacts::Entry app{f.byApp[i].appName, f.byApp[i].seconds, {}};
    const std::vector<DetailUsage> details =
        detailsOf ? detailsOf(f.byApp[i].bundleId)
                  : UsageRollup::detailRows(f.contexts, f.byApp[i].bundleId);
    for (size_t d = 0; d < details.size() && d < kDetailsPerApp; ++d) {
      app.details.push_back(details[d].label);
    }
    facts.apps.push_back(std::move(app));
  }
  if (f.shape.longestFocusSeconds > 0 && !f.shape.longestFocusName.empty()) {
    facts.longestStretch =
        SummaryFacts::Entry{f.shape.longestFocusName, f.shape.longestFocusSeconds, {}};
  }
  if (f.shape.trackedSeconds > 0) facts.switches = f.shape.switchCount;
  double busiest = 0;
  for (const HourBucket& hour : f.hourly) {
    // The earliest of equally busy hours.
    if (hour.seconds > busiest) {
      busiest = hour.seconds;
      facts.busiestHour = hour.hour;
    }
  }
  if (f.offMacSeconds > 0) facts.awaySeconds = f.offMacSeconds;
  return facts;
}

std::vector<std::string> factLines(const SummaryFacts& facts, std::string_view language) {
  const DurationText& duration = DurationText::forLanguage(language);
  std::vector<std::string> lines;
  lines.push_back(i18n::text(language, "summary.fact.period %@", facts.periodLabel));
  lines.push_back(
      i18n::text(language, "summary.fact.total %@", duration.format(facts.totalSeconds)));
  if (facts.totalChangePercent) {
    const long long p = *facts.totalChangePercent;
    lines.push_back(i18n::text(
        language, p >= 0 ? "summary.fact.changeMore %@ %@" : "summary.fact.changeLess %@ %@",
        std::to_string(p >= 0 ? p : -p), facts.comparisonName));
  }
  for (const SummaryFacts::Entry& category : facts.categories) {
    lines.push_back(i18n::text(language, "summary.fact.category %@ %@", category.name,
                               duration.format(category.seconds)));
  }
  for (const SummaryFacts::Entry& app : facts.apps) {
    lines.push_back(
        app.details.empty()
            ? i18n::text(language, "summary.fact.app %@ %@", app.name, duration.format(app.seconds))
            : i18n::text(language, "summary.fact.appDetails %@ %@ %@", app.name,
                         duration.format(app.seconds), joined(app.details, ", ")));
  }
  if (facts.longestStretch) {
    lines.push_back(i18n::text(language, "summary.fact.longest %@ %@",
                               duration.format(facts.longestStretch->seconds),
                               facts.longestStretch->name));
  }
  if (facts.switches) {
    lines.push_back(
        i18n::text(language, "summary.fact.switches %@", std::to_string(*facts.switches)));
  }
  if (facts.busiestHour) {
    lines.push_back(
        i18n::text(language, "summary.fact.busiestHour %@", clockHourText(*facts.busiestHour)));
  }
  if (facts.awaySeconds) {
    lines.push_back(
        i18n::text(language, "summary.fact.away %@", duration.format(*facts.awaySeconds)));
  }
  return lines;
}

std::string summaryPrompt(const std::vector<std::string>& lines) {
  if (lines.empty()) return {};
  std::string prompt = "Facts:\n";
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) prompt += '\n';
    prompt += std::to_string(i + 1) + ". " + lines[i];
  }
  return prompt;
}

std::string englishLanguageName(std::string_view language) {
  const std::string code(language.substr(0, language.find_first_of("_-")));
  if (code.empty()) return "English";
  icu::UnicodeString name;
  icu::Locale(code.c_str()).getDisplayLanguage(icu::Locale::getEnglish(), name);
  std::string text;
  name.toUTF8String(text);
  // ICU echoes a code it has no name for.
  if (text.empty() || text == code) return "English";
  return text;
}

std::string summaryInstructions(std::string_view language) {
  return std::string(kInstructionsOpening) + englishLanguageName(language) +
         std::string(kInstructionsClosing);
}

std::string clockHourText(int hour) {
  char text[8];
  std::snprintf(text, sizeof text, "%02d:00", hour < 0 || hour > 23 ? 0 : hour);
  return text;
}

}  // namespace velto
