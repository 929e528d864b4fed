// How far a rule has come in its current span. Seconds throughout.
#pragma once

#include <string>
#include <string_view>

#include "limits/usage_limit.h"

namespace velto {

struct LimitProgress {
  UsageLimit limit;
  double spent = 0;
  double amount = 0;  // the rule's secondsPerDay

  bool operator==(const LimitProgress&) const = default;

  double fraction() const { return amount > 0 ? spent / amount : (spent > 0 ? 1.0 : 0.0); }
  // A limit is over and a goal met once the amount is used up; equality counts.
  bool isOverOrMet() const { return amount <= spent; }

  // "1h 5m of 2h today", "… this week - over by 5m", "Met: …" in `language`.
  std::string text(std::string_view language) const;
};

}  // namespace velto
