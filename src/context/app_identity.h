// Application identity on Linux: which id a window gets, and the names under which the catalogs
// (application families, browsers, never-tracked and meeting applications, the category seed)
// may know the same application.
//
// The id: the desktop-file id (without ".desktop") when an entry belongs to the window, else the
// window's own class (or Wayland app_id), lower-cased. An entry belongs to a window when, in
// this order of preference,
//   - its file id equals the Wayland app_id (exactly, then ignoring case; or its StartupWMClass
//     equals the app_id),
//   - its StartupWMClass equals the window class exactly,
//   - its StartupWMClass equals the instance exactly (web applications share their browser's
//     class and name themselves there),
//   - its StartupWMClass equals the window class ignoring case,
//   - its file id equals the window class ignoring case.
// The instance never matches a file id and never matches StartupWMClass ignoring case: a window
// started with its own class ("xterm -class Work") is an application of its own.
//
// Catalog keys, all lower-cased: the id itself, with a distribution prefix ("debian-", "ubuntu-",
// "kde4-") removed, the last part of a reverse-DNS (Flatpak) id, the snap name of a
// "snap_app" id, and the names of a small table of applications known under two names
// ("footclient" is "foot"); then the same for each name the window carries (StartupWMClass,
// instance, class, app_id, executable). Catalogs try them in that order and take the first hit.
//
// Thread: any. The alias cache is per thread.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "recording/platform_sources.h"

namespace velto {

struct DesktopEntry {
  std::string id;              // "org.gnome.Terminal" (file id without ".desktop")
  std::string name;            // Name= of [Desktop Entry], unlocalised
  std::string startupWmClass;  // StartupWMClass=, may be empty
};

// What a desktop tells about one window's application. Empty fields are unknown.
struct WindowNames {
  std::string instance;     // X11 WM_CLASS instance
  std::string windowClass;  // X11 WM_CLASS class
  std::string appId;        // Wayland xdg_toplevel app_id
  std::string executable;   // base name of the process's executable
};

// The entry that belongs to a window by the rules above; null when none does.
const DesktopEntry* matchDesktopEntry(std::span<const DesktopEntry> entries,
                                      const WindowNames& window);

// The application of a window: id, name and every other name it carries as aliases. The id is
// none when the window names nothing at all.
RunningApplication identifyApplication(std::span<const DesktopEntry> entries,
                                       const WindowNames& window, int pid);

// The catalog keys of `bundleId` followed by those of `windowNames`, lower-cased, without
// repeats, most specific first. Never empty for a non-empty id.
std::vector<std::string> catalogKeys(std::string_view bundleId,
                                     std::span<const std::string> windowNames = {});

// catalogKeys(bundleId) from a per-thread cache; the reference stays valid until the next call
// on the same thread.
const std::vector<std::string>& cachedCatalogKeys(std::string_view bundleId);

// The first key of `bundleId` (then of `windowNames`) that `find` answers for; null if none.
template <typename Find>
auto findByAlias(std::string_view bundleId, std::span<const std::string> windowNames, Find find)
    -> decltype(find(std::string_view())) {
  for (const std::string& key : cachedCatalogKeys(bundleId)) {
    if (auto hit = find(std::string_view(key))) return hit;
  }
  if (windowNames.empty()) return {};
  for (const std::string& key : catalogKeys({}, windowNames)) {
    if (auto hit = find(std::string_view(key))) return hit;
  }
  return {};
}

std::string asciiLowerCased(std::string_view text);

// A catalog's items by identifier: found by the exact identifier, else by the first catalog key
// of it and of the window's names. An item added later replaces an earlier one with the same key.
template <typename Item>
class AliasIndex {
 public:
  void add(std::string_view id, Item item) {
    exact_.insert_or_assign(id, item);
    lower_.insert_or_assign(asciiLowerCased(id), item);
  }
  std::optional<Item> find(std::string_view id, std::span<const std::string> aliases = {}) const {
    if (auto found = exact_.find(id); found != exact_.end()) return found->second;
    const Item* hit = findByAlias(id, aliases, [this](std::string_view key) -> const Item* {
      auto found = lower_.find(key);
      return found == lower_.end() ? nullptr : &found->second;
    });
    if (hit == nullptr) return std::nullopt;
    return *hit;
  }

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };
  std::unordered_map<std::string_view, Item> exact_;  // views of static text
  std::unordered_map<std::string, Item, Hash, std::equal_to<>> lower_;
};

}  // namespace velto
