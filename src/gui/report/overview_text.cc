#include "gui/report/overview_text.h"

#include <cmath>

#include "base/strings.h"
#include "reports/duration_text.h"

namespace velto::gui {

std::string comparisonSentence(const UsageFigures& figures, std::string_view language) {
  if (figures.previousTotalSeconds <= 0) {
    return i18n::text(language, "main.overview.comparison.noBaseline");
  }
  const double difference = figures.totalSeconds - figures.previousTotalSeconds;
  if (std::fabs(difference) < 60) {
    return i18n::text(language, "main.overview.comparison.same %@", figures.comparisonName);
  }
  const std::string amount = DurationText::forLanguage(language).format(std::fabs(difference));
  return i18n::text(language,
                    difference > 0 ? "main.overview.comparison.more %@ %@"
                                   : "main.overview.comparison.less %@ %@",
                    amount, figures.comparisonName);
}

std::string shapeSentence(const ActivityShape& shape, std::string_view language) {
  if (shape.trackedSeconds <= 0) return {};
  const DurationText& duration = DurationText::forLanguage(language);
  return i18n::text(language, "main.overview.shape %@ %@ %@", shape.longestFocusName,
                    duration.format(shape.longestFocusSeconds), std::to_string(shape.switchCount));
}

}  // namespace velto::gui
