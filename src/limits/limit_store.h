// The user's limits and goals, kept under "velto.limits". Reads tolerantly: one unreadable rule
// costs only that rule. Changes are saved at once; another process's change of the key is
// picked up. Subscribers hear of every change of the list.
//
// Thread: main thread.
#pragma once

#include <functional>
#include <vector>

#include "base/clock.h"
#include "base/notice_bus.h"
#include "limits/usage_limit.h"
#include "settings/settings.h"

namespace velto {

class LimitStore {
 public:
  LimitStore(Settings& settings, NoticeBus& notices, const Clock& clock);

  const std::vector<UsageLimit>& limits() const { return limits_; }

  // Adds the rule, or updates the one with the same rule key: new amount, enabled again, the
  // subject refreshed (an app's name); its id and creation date stay.
  void set(const UsageLimit::Subject& subject, UsageLimit::Kind kind, UsageLimit::Span span,
           double seconds);
  void remove(const UsageLimit::Subject& subject, UsageLimit::Kind kind, UsageLimit::Span span);
  void setEnabled(const Uuid& id, bool enabled);
  void deleteRule(const Uuid& id);
  // Removes every rule about a category (when the category is deleted).
  void removeCategory(std::string_view categoryId);

  [[nodiscard]] Subscription subscribe(std::function<void()> handler);

 private:
  void load();
  void save();
  void changed();

  Settings& settings_;
  NoticeBus& notices_;
  const Clock& clock_;
  std::vector<UsageLimit> limits_;
  bool saving_ = false;
  Subscription settingsChanged_;
};

// The decoded rules of a stored "velto.limits" value, logging as the store does.
std::vector<UsageLimit> decodeLimits(const nlohmann::json& stored);

}  // namespace velto
