#include "reports/detail_trends.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>

#include "base/log.h"
#include "reports/usage_rollup.h"

namespace velto {

namespace {

struct Candidate {
  std::string key;
  std::string label;
  Micros current = 0;
  Micros previous = 0;
};

}  // namespace

std::vector<Mover> detailMovers(UsageAggregates& aggregates, const DetailTotals& current,
                                const DetailTotals& previous) {
  std::vector<Micros> now(current.byId.begin(), current.byId.end());
  std::vector<Micros> before(previous.byId.begin(), previous.byId.end());
  const size_t ids = std::max(now.size(), before.size());
  now.resize(ids);
  before.resize(ids);

  // Details of rows read one by one join their stored id when the store knows their key.
  std::unordered_map<std::string, Candidate> unstored;
  std::unordered_map<std::string, std::optional<std::int64_t>> idOfKey;
  auto add = [&](std::span<const ContextTotal> contexts, bool isCurrent) {
    for (const ContextTotal& total : contexts) {
      if (UsageRollup::isOffMac(total.context.bundleId)) continue;
      const std::optional<ActivityDetail> detail = UsageRollup::detailOf(total);
      if (!detail) continue;
      auto [known, added] = idOfKey.try_emplace(detail->key);
      if (added) known->second = aggregates.detailIdOfKey(detail->key);
      if (known->second && static_cast<size_t>(*known->second) >= now.size()) {
        now.resize(static_cast<size_t>(*known->second) + 1);
        before.resize(now.size());
      }
      if (known->second) {
        (isCurrent ? now : before)[static_cast<size_t>(*known->second)] += total.micros;
        continue;
      }
      Candidate& entry = unstored[detail->key];
      if (entry.key.empty()) entry = {detail->key, detail->label, 0, 0};
      (isCurrent ? entry.current : entry.previous) += total.micros;
    }
  };
  add(current.contexts, true);
  add(previous.contexts, false);

  std::vector<std::int64_t> moving;
  for (size_t id = 0; id < now.size(); ++id) {
    if (isMover(toSeconds(now[id]), toSeconds(before[id])))
      moving.push_back(static_cast<std::int64_t>(id));
  }
  std::vector<Candidate> candidates;
  if (Result<std::vector<std::optional<ActivityDetail>>> details =
          aggregates.detailsOfIds(moving)) {
    for (size_t i = 0; i < moving.size(); ++i) {
      const std::optional<ActivityDetail>& detail = (*details)[i];
      if (!detail) continue;
      const auto id = static_cast<size_t>(moving[i]);
      candidates.push_back({detail->key, detail->label, now[id], before[id]});
    }
  } else {
    log::error("Could not read stored details: %{public}s", details.error());
  }
  for (auto& [key, entry] : unstored) {
    if (isMover(toSeconds(entry.current), toSeconds(entry.previous)))
      candidates.push_back(std::move(entry));
  }
  // The order of the rows before movers are chosen: this period's details largest first, then
  // those only the earlier period had, largest first; ties by key.
  std::sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
    if ((a.current > 0) != (b.current > 0)) return a.current > 0;
    const Micros first = a.current > 0 ? a.current : a.previous;
    const Micros second = b.current > 0 ? b.current : b.previous;
    if (first != second) return first > second;
    return a.key < b.key;
  });
  std::vector<TrendRow> rows;
  rows.reserve(candidates.size());
  for (Candidate& candidate : candidates) {
    rows.push_back({std::move(candidate.key), std::move(candidate.label),
                    toSeconds(candidate.current), toSeconds(candidate.previous)});
  }
  return movers(rows);
}

}  // namespace velto
