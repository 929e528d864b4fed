// Movers per detail when the stored days' details come as totals per stored detail id (see
// UsageTally::siteLevel): the same movers, in the same order, as grouping every row's detail by
// its key, without turning the tens of thousands of details of a year into texts. Only the
// movers' texts are looked up.
// Thread: main thread, with the store.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "reports/report_period.h"
#include "store/usage_aggregates.h"

namespace velto {

struct DetailTotals {
  std::span<const ContextTotal> contexts;  // details of rows read one by one
  std::span<const std::int64_t> byId;      // microseconds per stored detail id
};

std::vector<Mover> detailMovers(UsageAggregates& aggregates, const DetailTotals& current,
                                const DetailTotals& previous);

}  // namespace velto
