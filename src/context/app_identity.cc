#include "context/app_identity.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

namespace velto {

namespace {

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && asciiLowerCased(a) == asciiLowerCased(b);
}

// Prefixes that distributions put before an upstream desktop-file id.
constexpr std::array<std::string_view, 5> kDistributionPrefixes = {"debian-", "ubuntu-", "kde4-",
                                                                   "kde5-", "fedora-"};

// Applications that run under a second name (a client binary, a packaged variant, a window
// class); lower-cased, the second name first.
constexpr std::pair<std::string_view, std::string_view> kSecondNames[] = {
    {"footclient", "foot"},
    {"uxterm", "xterm"},
    {"rxvt-unicode", "urxvt"},
    {"gnome-terminal-server", "org.gnome.terminal"},
    {"gnome-terminal", "org.gnome.terminal"},
    {"kgx", "org.gnome.console"},
    {"gnome-text-editor", "org.gnome.texteditor"},
    {"firefox-esr", "firefox"},
    {"navigator", "firefox"},
    {"chromium-browser", "chromium"},
    {"google-chrome-stable", "google-chrome"},
    {"brave-browser-stable", "brave-browser"},
    {"microsoft-edge-stable", "microsoft-edge"},
    {"vivaldi-stable", "vivaldi"},
    {"thunderbird-esr", "thunderbird"},
    {"telegramdesktop", "telegram-desktop"},
    {"code-url-handler", "code"},
    {"soffice", "libreoffice-startcenter"},
    {"libreoffice", "libreoffice-startcenter"},
    {"org.libreoffice.libreoffice.writer", "libreoffice-writer"},
    {"org.libreoffice.libreoffice.calc", "libreoffice-calc"},
    {"org.libreoffice.libreoffice.impress", "libreoffice-impress"},
    {"org.libreoffice.libreoffice.draw", "libreoffice-draw"},
    {"intellij-idea-community", "jetbrains-idea-ce"},
    {"intellij-idea-ultimate", "jetbrains-idea"},
    {"pycharm-community", "jetbrains-pycharm-ce"},
    {"pycharm-professional", "jetbrains-pycharm"},
};

// Names derived from one key, lower-cased.
void deriveKeys(const std::string& key, std::vector<std::string>& into) {
  for (std::string_view prefix : kDistributionPrefixes) {
    if (key.size() > prefix.size() && key.starts_with(prefix)) {
      into.push_back(key.substr(prefix.size()));
    }
  }
  // Reverse-DNS ids (Flatpak, many GNOME and KDE applications): the last part.
  if (std::count(key.begin(), key.end(), '.') >= 2) {
    const size_t dot = key.rfind('.');
    if (dot + 1 < key.size()) into.push_back(key.substr(dot + 1));
  }
  // Snap desktop ids: "snap_app".
  if (const size_t underscore = key.find('_'); underscore != std::string::npos && underscore > 0 &&
                                               underscore + 1 < key.size() &&
                                               key.find('.') == std::string::npos) {
    const std::string snap = key.substr(0, underscore);
    const std::string app = key.substr(underscore + 1);
    if (snap == app) {
      into.push_back(snap);
    } else if (app.find('_') == std::string::npos) {
      into.push_back(snap + "-" + app);
    }
  }
  for (const auto& [second, first] : kSecondNames) {
    if (key == second) into.emplace_back(first);
  }
}

void addKeys(std::string_view name, std::vector<std::string>& keys) {
  if (name.empty()) return;
  std::vector<std::string> pending{asciiLowerCased(name)};
  for (size_t i = 0; i < pending.size() && keys.size() < 32; ++i) {
    if (std::find(keys.begin(), keys.end(), pending[i]) != keys.end()) continue;
    keys.push_back(pending[i]);
    deriveKeys(keys.back(), pending);  // not pending[i]: deriving grows `pending`
  }
}

}  // namespace

std::string asciiLowerCased(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

const DesktopEntry* matchDesktopEntry(std::span<const DesktopEntry> entries,
                                      const WindowNames& window) {
  auto first = [&](auto&& matches) -> const DesktopEntry* {
    for (const DesktopEntry& entry : entries) {
      if (matches(entry)) return &entry;
    }
    return nullptr;
  };
  if (!window.appId.empty()) {
    if (auto* hit = first([&](const DesktopEntry& e) { return e.id == window.appId; })) return hit;
    if (auto* hit = first([&](const DesktopEntry& e) {
          return equalsIgnoringCase(e.id, window.appId) ||
                 (!e.startupWmClass.empty() && e.startupWmClass == window.appId);
        })) {
      return hit;
    }
  }
  if (!window.windowClass.empty()) {
    if (auto* hit = first([&](const DesktopEntry& e) {
          return !e.startupWmClass.empty() && e.startupWmClass == window.windowClass;
        })) {
      return hit;
    }
  }
  // Web applications share their browser's class and name themselves in the instance.
  if (!window.instance.empty()) {
    if (auto* hit = first([&](const DesktopEntry& e) {
          return !e.startupWmClass.empty() && e.startupWmClass == window.instance;
        })) {
      return hit;
    }
  }
  if (!window.windowClass.empty()) {
    if (auto* hit = first([&](const DesktopEntry& e) {
          return !e.startupWmClass.empty() &&
                 equalsIgnoringCase(e.startupWmClass, window.windowClass);
        })) {
      return hit;
    }
    return first(
        [&](const DesktopEntry& e) { return equalsIgnoringCase(e.id, window.windowClass); });
  }
  return nullptr;
}

RunningApplication identifyApplication(std::span<const DesktopEntry> entries,
                                       const WindowNames& window, int pid) {
  RunningApplication app;
  app.pid = pid;
  const DesktopEntry* entry = matchDesktopEntry(entries, window);
  if (entry != nullptr) {
    app.bundleId = entry->id;
    app.appName = entry->name;
  } else {
    const std::string& own = !window.appId.empty()         ? window.appId
                             : !window.windowClass.empty() ? window.windowClass
                                                           : window.instance;
    if (own.empty()) return app;
    app.bundleId = asciiLowerCased(own);
    app.appName = own;
  }
  for (const std::string* name : {entry ? &entry->startupWmClass : nullptr, &window.instance,
                                  &window.windowClass, &window.appId, &window.executable}) {
    if (name == nullptr || name->empty() || *name == *app.bundleId) continue;
    if (std::find(app.aliases.begin(), app.aliases.end(), *name) == app.aliases.end()) {
      app.aliases.push_back(*name);
    }
  }
  return app;
}

std::vector<std::string> catalogKeys(std::string_view bundleId,
                                     std::span<const std::string> windowNames) {
  std::vector<std::string> keys;
  addKeys(bundleId, keys);
  for (const std::string& name : windowNames) addKeys(name, keys);
  return keys;
}

const std::vector<std::string>& cachedCatalogKeys(std::string_view bundleId) {
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };
  // A few hundred applications in a lifetime; the bound only guards against odd input.
  constexpr size_t kMostIds = 4096;
  thread_local std::unordered_map<std::string, std::vector<std::string>, Hash, std::equal_to<>>
      cache;
  if (auto found = cache.find(bundleId); found != cache.end()) return found->second;
  if (cache.size() >= kMostIds) cache.clear();
  return cache.emplace(std::string(bundleId), catalogKeys(bundleId)).first->second;
}

}  // namespace velto
