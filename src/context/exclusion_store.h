// Owns the user's ExclusionList, kept under "velto.exclusions" in the settings. Every change
// is written back at once; a change written by another process (picked up by the settings) is
// read back in. Subscribers hear of every change of the list, whichever side made it.
//
// Failures are logged, never returned: "Could not read exclusions: %{public}s" when the stored
// list does not decode (the list then reads as empty), "Could not write exclusions:
// %{public}s" when the list cannot be encoded (the change still holds for this session).
//
// Thread: main thread only, like Settings.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/notice_bus.h"
#include "context/exclusion_list.h"

namespace velto {

class Settings;

class ExclusionStore {
 public:
  // `settings` and `notices` (the bus the settings post on) must outlive the store.
  ExclusionStore(Settings& settings, NoticeBus& notices);
  ExclusionStore(const ExclusionStore&) = delete;
  ExclusionStore& operator=(const ExclusionStore&) = delete;

  const ExclusionList& list() const { return list_; }
  bool isExcluded(std::string_view bundleId) const { return list_.excludesApp(bundleId); }
  bool isExcludedHost(std::optional<std::string_view> host) const {
    return list_.excludesHost(host);
  }
  bool skipPrivateWindows() const { return list_.skipPrivateWindows; }

  // Adds the app, or renames it when its bundle identifier is listed already (ignoring case).
  void addApp(std::string_view bundleId, std::string_view name);
  void removeApp(std::string_view bundleId);
  // Normalises `typed` (normalizeTypedHost) and lists the host unless it is listed already.
  // Returns the host, or none when `typed` names no host and nothing was added.
  std::optional<std::string> addHost(std::string_view typed);
  // Removes the listed host equal to `host`, ignoring case.
  void removeHost(std::string_view host);
  void setSkipPrivateWindows(bool skip);

  // Calls `handler` after each change of the list.
  [[nodiscard]] Subscription subscribe(std::function<void()> handler);

 private:
  static ExclusionList readStored(const Settings& settings);
  void reload();
  void change(ExclusionList next);

  Settings& settings_;
  ExclusionList list_;
  NoticeBus changes_;
  Subscription storedChanged_;
};

}  // namespace velto
