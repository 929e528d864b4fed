#include "summaries/fact_writer.h"

#include "base/strings.h"
#include "reports/duration_text.h"
#include "summaries/locale_text.h"

namespace velto {

namespace {

constexpr size_t kMostSentences = 3;
constexpr size_t kAppsNamed = 3;

std::string listed(const std::vector<SummaryFacts::Entry>& entries, size_t most,
                   std::string_view language) {
  const DurationText& duration = DurationText::forLanguage(language);
  std::vector<std::string> items;
  for (size_t i = 0; i < entries.size() && i < most; ++i) {
    items.push_back(i18n::text(language, "summary.sentence.item %@ %@", entries[i].name,
                               duration.format(entries[i].seconds)));
  }
  return joinList(items, language);
}

}  // namespace

GeneratedSummary writeFromFacts(const SummaryFacts& facts, std::string_view language) {
  const DurationText& duration = DurationText::forLanguage(language);
  GeneratedSummary summary;
  std::vector<std::string>& out = summary.sentences;
  const std::string total = duration.format(facts.totalSeconds);
  if (facts.totalChangePercent) {
    const long long p = *facts.totalChangePercent;
    out.push_back(i18n::text(language,
                             p >= 0 ? "summary.sentence.totalMore %@ %@ %@ %@"
                                    : "summary.sentence.totalLess %@ %@ %@ %@",
                             total, facts.periodLabel, std::to_string(p >= 0 ? p : -p),
                             facts.comparisonName));
  } else {
    out.push_back(i18n::text(language, "summary.sentence.total %@ %@", total, facts.periodLabel));
  }
  if (!facts.categories.empty()) {
    out.push_back(i18n::text(language, "summary.sentence.categories %@",
                             listed(facts.categories, facts.categories.size(), language)));
  }
  if (!facts.apps.empty()) {
    out.push_back(
        i18n::text(language, "summary.sentence.apps %@", listed(facts.apps, kAppsNamed, language)));
  }
  if (facts.longestStretch && out.size() < kMostSentences) {
    out.push_back(i18n::text(language, "summary.sentence.longest %@ %@",
                             duration.format(facts.longestStretch->seconds),
                             facts.longestStretch->name));
  }
  if (out.size() > kMostSentences) out.resize(kMostSentences);
  return summary;
}

void FactWriter::generate(SummaryRequest request, Done done) {
  GeneratedSummary summary = writeFromFacts(request.facts, request.language);
  scheduler_.post([done = std::move(done), summary = std::move(summary)]() mutable {
    done(std::move(summary));
  });
}

}  // namespace velto
