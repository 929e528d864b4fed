#include "limits/limit_store.h"

#include <nlohmann/json.hpp>

#include "base/log.h"
#include "settings/settings_keys.h"

namespace velto {

namespace {

constexpr const char* kLimitsChanged = "velto.limits.didChange";

}  // namespace

std::vector<UsageLimit> decodeLimits(const nlohmann::json& stored) {
  nlohmann::json array = stored;
  if (array.is_string()) array = nlohmann::json::parse(array.get<std::string>(), nullptr, false);
  if (!array.is_array()) {
    log::error(
        "Could not read limits: %{public}s",
        std::string(array.is_discarded() ? "the data is not JSON" : "the data is not a list"));
    return {};
  }
  std::vector<UsageLimit> limits;
  long dropped = 0;
  for (const nlohmann::json& element : array) {
    Result<UsageLimit> limit = usageLimitFromJson(element);
    if (limit) {
      limits.push_back(std::move(limit).value());
    } else {
      ++dropped;
    }
  }
  if (dropped > 0) log::error("Dropped %{public}ld unreadable limit(s)", std::to_string(dropped));
  return limits;
}

LimitStore::LimitStore(Settings& settings, NoticeBus& notices, const Clock& clock)
    : settings_(settings), notices_(notices), clock_(clock) {
  load();
  settingsChanged_ = notices_.subscribe(keys::kLimits, [this] {
    if (saving_) return;
    load();
    changed();
  });
}

void LimitStore::load() {
  const std::optional<nlohmann::json> stored = settings_.json(keys::kLimits);
  limits_ = stored ? decodeLimits(*stored) : std::vector<UsageLimit>{};
}

void LimitStore::save() {
  nlohmann::json array = nlohmann::json::array();
  for (const UsageLimit& limit : limits_) array.push_back(toJson(limit));
  try {
    (void)array.dump(-1, ' ', false, nlohmann::json::error_handler_t::strict);
  } catch (const nlohmann::json::exception& e) {
    // The in-memory list keeps the change; the stored one stays as it was.
    log::error("Could not write limits: %{public}s", std::string(e.what()));
    changed();
    return;
  }
  saving_ = true;
  settings_.setJson(keys::kLimits, std::move(array));
  saving_ = false;
  changed();
}

void LimitStore::changed() {
  notices_.post(kLimitsChanged);
}

Subscription LimitStore::subscribe(std::function<void()> handler) {
  return notices_.subscribe(kLimitsChanged, std::move(handler));
}

void LimitStore::set(const UsageLimit::Subject& subject, UsageLimit::Kind kind,
                     UsageLimit::Span span, double seconds) {
  const std::string key = ruleKey(kind, span, subject);
  for (UsageLimit& limit : limits_) {
    if (limit.ruleKey() != key) continue;
    limit.secondsPerDay = seconds;
    limit.isEnabled = true;
    limit.subject = subject;
    save();
    return;
  }
  limits_.push_back(UsageLimit{Uuid::random(), subject, seconds, true, clock_.now(), kind, span});
  save();
}

void LimitStore::remove(const UsageLimit::Subject& subject, UsageLimit::Kind kind,
                        UsageLimit::Span span) {
  const std::string key = ruleKey(kind, span, subject);
  if (std::erase_if(limits_, [&](const UsageLimit& limit) { return limit.ruleKey() == key; }) > 0) {
    save();
  }
}

void LimitStore::setEnabled(const Uuid& id, bool enabled) {
  for (UsageLimit& limit : limits_) {
    if (limit.id == id && limit.isEnabled != enabled) {
      limit.isEnabled = enabled;
      save();
    }
  }
}

void LimitStore::deleteRule(const Uuid& id) {
  if (std::erase_if(limits_, [&](const UsageLimit& limit) { return limit.id == id; }) > 0) save();
}

void LimitStore::removeCategory(std::string_view categoryId) {
  if (std::erase_if(limits_, [&](const UsageLimit& limit) {
        return limit.subject.kind == UsageLimit::Subject::Kind::category &&
               limit.subject.value == categoryId;
      }) > 0) {
    save();
  }
}

}  // namespace velto
