// What the "add a limit or goal" sheet offers, in its groups: everything, each category, the
// apps (the one in front now first, then today's by time, then the last four weeks' by time) and
// the sites with the most time over the last four weeks, each with the text shown for it.
// Thread: main thread.
#pragma once

#include <string>
#include <vector>

#include "limits/usage_limit.h"

namespace velto {
class ServiceSet;
}

namespace velto::gui {

struct LimitCandidate {
  UsageLimit::Subject subject;
  std::string label;
};

std::vector<LimitCandidate> limitCandidates(ServiceSet& services, std::size_t appCount = 8);

// The line shown for a rule in the Limits pane: its progress text ("1h 5m of 2h today").
std::string limitLine(ServiceSet& services, const UsageLimit& limit);

}  // namespace velto::gui
