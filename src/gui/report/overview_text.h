// The sentences of the report's overview that the core does not word: the total against the
// earlier period, the away-from-computer line and the shape of the period.
// Thread: main thread.
#pragma once

#include <string>
#include <string_view>

#include "reports/usage_report.h"

namespace velto::gui {

// "25m more than yesterday by this time." / "... less than ..." / "About the same as ..." (a
// difference under a minute) / "Nothing was recorded in the period before this one." when the
// earlier period has no time.
std::string comparisonSentence(const UsageFigures& figures, std::string_view language);

// "Longest stretch: Editor, 1h 5m. 12 switches between apps." Empty with nothing recorded.
std::string shapeSentence(const ActivityShape& shape, std::string_view language);

}  // namespace velto::gui
