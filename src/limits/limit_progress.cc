#include "limits/limit_progress.h"

#include <algorithm>

#include "base/strings.h"
#include "reports/duration_text.h"

namespace velto {

std::string LimitProgress::text(std::string_view language) const {
  const DurationText& duration = DurationText::forLanguage(language);
  const std::string spentText = duration.format(spent);
  const std::string amountText = duration.format(amount);
  const bool week = limit.span == UsageLimit::Span::week;
  if (limit.kind == UsageLimit::Kind::goal) {
    const char* key = isOverOrMet()
                          ? (week ? "goals.progress.week.met %@ %@" : "goals.progress.met %@ %@")
                          : (week ? "goals.progress.week %@ %@" : "goals.progress %@ %@");
    return i18n::text(language, key, spentText, amountText);
  }
  if (!isOverOrMet()) {
    return i18n::text(language, week ? "limits.progress.week %@ %@" : "limits.progress %@ %@",
                      spentText, amountText);
  }
  return i18n::text(language,
                    week ? "limits.progress.week.over %@ %@ %@" : "limits.progress.over %@ %@ %@",
                    spentText, amountText, duration.format(std::max(0.0, spent - amount)));
}

}  // namespace velto
