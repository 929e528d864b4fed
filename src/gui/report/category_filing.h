// Filing an application or a site under a category from its report row: one user rule per
// subject and pattern, so filing again replaces the earlier choice. Patterns are stored
// lower-cased. The store announces the rule change, and every report re-resolves its rows.
// Thread: main thread.
#pragma once

#include <string_view>

#include "base/result.h"
#include "base/time.h"
#include "store/category_rule.h"
#include "store/segment_store.h"

namespace velto::gui {

Status fileUnderCategory(SegmentStore& store, CategoryRule::Subject subject,
                         std::string_view pattern, std::string_view categoryRaw, Instant now);

}  // namespace velto::gui
