#include "context/exclusion_store.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/log.h"
#include "context/unicode_text.h"
#include "settings/settings.h"
#include "settings/settings_keys.h"

namespace velto {

namespace {

constexpr std::string_view kChanged = "changed";

// The stored form, or the reason it cannot be written (text that is not valid UTF-8).
Result<nlohmann::json> encode(const ExclusionList& list) {
  nlohmann::json document = toJson(list);
  try {
    (void)document.dump(-1, ' ', false, nlohmann::json::error_handler_t::strict);
  } catch (const nlohmann::json::exception& error) {
    return Error{error.what()};
  }
  return document;
}

bool sameText(std::string_view a, std::string_view b) {
  return text::lowerCased(a) == text::lowerCased(b);
}

}  // namespace

ExclusionStore::ExclusionStore(Settings& settings, NoticeBus& notices)
    : settings_(settings), list_(readStored(settings)) {
  storedChanged_ = notices.subscribe(keys::kExclusions, [this] { reload(); });
}

ExclusionList ExclusionStore::readStored(const Settings& settings) {
  std::optional<nlohmann::json> stored = settings.json(keys::kExclusions);
  if (!stored) return {};
  Result<ExclusionList> decoded = exclusionListFromJson(*stored);
  if (!decoded) {
    log::error("Could not read exclusions: %{public}s", decoded.error());
    return {};
  }
  return std::move(decoded).value();
}

void ExclusionStore::reload() {
  ExclusionList stored = readStored(settings_);
  if (stored == list_) return;
  list_ = std::move(stored);
  changes_.post(kChanged);
}

void ExclusionStore::change(ExclusionList next) {
  if (next == list_) return;
  list_ = std::move(next);
  Result<nlohmann::json> document = encode(list_);
  if (document) {
    settings_.setJson(keys::kExclusions, std::move(document).value());
  } else {
    log::error("Could not write exclusions: %{public}s", document.error());
  }
  changes_.post(kChanged);
}

void ExclusionStore::addApp(std::string_view bundleId, std::string_view name) {
  ExclusionList next = list_;
  auto listed = std::find_if(next.apps.begin(), next.apps.end(), [&](const ExcludedApp& app) {
    return sameText(app.bundleId, bundleId);
  });
  if (listed != next.apps.end()) {
    listed->name = std::string(name);
  } else {
    next.apps.push_back({std::string(bundleId), std::string(name)});
  }
  change(std::move(next));
}

void ExclusionStore::removeApp(std::string_view bundleId) {
  ExclusionList next = list_;
  std::erase_if(next.apps,
                [&](const ExcludedApp& app) { return sameText(app.bundleId, bundleId); });
  change(std::move(next));
}

std::optional<std::string> ExclusionStore::addHost(std::string_view typed) {
  std::optional<std::string> host = normalizeTypedHost(typed);
  if (!host) return std::nullopt;
  ExclusionList next = list_;
  if (std::none_of(next.hosts.begin(), next.hosts.end(),
                   [&](const std::string& listed) { return sameText(listed, *host); })) {
    next.hosts.push_back(*host);
  }
  change(std::move(next));
  return host;
}

void ExclusionStore::removeHost(std::string_view host) {
  ExclusionList next = list_;
  std::erase_if(next.hosts, [&](const std::string& listed) { return sameText(listed, host); });
  change(std::move(next));
}

void ExclusionStore::setSkipPrivateWindows(bool skip) {
  ExclusionList next = list_;
  next.skipPrivateWindows = skip;
  change(std::move(next));
}

Subscription ExclusionStore::subscribe(std::function<void()> handler) {
  return changes_.subscribe(kChanged, std::move(handler));
}

}  // namespace velto
