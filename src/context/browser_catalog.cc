#include "context/browser_catalog.h"

#include <array>
#include <string>
#include <unordered_map>

#include "context/app_identity.h"

namespace velto {

namespace {

using Family = BrowserFamily;
using Entry = BrowserCatalog::Entry;

constexpr Entry kEntries[] = {
    {"com.apple.Safari", "Safari", "Safari", Family::safari, false},
    {"com.apple.SafariTechnologyPreview", "Safari Technology Preview", "Safari Technology Preview",
     Family::safari, false},
    {"com.kagi.kagimacOS", "Orion", "Orion", Family::safari, false},
    {"com.google.Chrome", "Google Chrome", "Google Chrome", Family::chromium, false},
    {"com.google.Chrome.canary", "Google Chrome Canary", "Chrome Canary", Family::chromium, false},
    {"com.brave.Browser", "Brave Browser", "Brave", Family::chromium, false},
    {"com.microsoft.edgemac", "Microsoft Edge", "Microsoft Edge", Family::chromium, false},
    {"com.vivaldi.Vivaldi", "Vivaldi", "Vivaldi", Family::chromium, false},
    {"com.operasoftware.Opera", "Opera", "Opera", Family::chromium, false},
    {"company.thebrowser.Browser", "Arc", "Arc", Family::chromium, false},
    {"org.chromium.Chromium", "Chromium", "Chromium", Family::chromium, false},
    {"com.google.Chrome.beta", "Google Chrome Beta", "Chrome Beta", Family::chromium, false},
    {"com.google.Chrome.dev", "Google Chrome Dev", "Chrome Dev", Family::chromium, false},
    {"com.brave.Browser.beta", "Brave Browser Beta", "Brave Beta", Family::chromium, false},
    {"com.brave.Browser.nightly", "Brave Browser Nightly", "Brave Nightly", Family::chromium,
     false},
    {"com.microsoft.edgemac.Beta", "Microsoft Edge Beta", "Edge Beta", Family::chromium, false},
    {"com.microsoft.edgemac.Dev", "Microsoft Edge Dev", "Edge Dev", Family::chromium, false},
    {"com.microsoft.edgemac.Canary", "Microsoft Edge Canary", "Edge Canary", Family::chromium,
     false},
    {"com.vivaldi.Vivaldi.snapshot", "Vivaldi Snapshot", "Vivaldi Snapshot", Family::chromium,
     false},
    {"com.operasoftware.OperaGX", "Opera GX", "Opera GX", Family::chromium, false},
    {"company.thebrowser.dia", "Dia", "Dia", Family::chromium, true},
    {"ai.perplexity.comet", "Comet", "Comet", Family::chromium, true},
    {"net.imput.helium", "Helium", "Helium", Family::chromium, true},
    {"org.mozilla.firefox", "Firefox", "Firefox", Family::gecko, false},
    {"org.mozilla.firefoxdeveloperedition", "Firefox Developer Edition",
     "Firefox Developer Edition", Family::gecko, false},
    {"app.zen-browser.zen", "Zen", "Zen", Family::gecko, false},
    {"org.mozilla.nightly", "Firefox Nightly", "Firefox Nightly", Family::gecko, false},
    {"io.gitlab.librewolf-community", "LibreWolf", "LibreWolf", Family::gecko, false},
    {"net.waterfox.waterfox", "Waterfox", "Waterfox", Family::gecko, false},
    {"one.ablaze.floorp", "Floorp", "Floorp", Family::gecko, false},

    // Linux: desktop file ids (distribution packages, Flatpak) and lower-cased WM_CLASS names.
    // They have no scripting interface and are always read through accessibility.
    {"firefox", "Firefox", "Firefox", Family::gecko, true},
    {"firefox-esr", "Firefox ESR", "Firefox ESR", Family::gecko, true},
    {"firefox_firefox", "Firefox", "Firefox", Family::gecko, true},
    {"firefox-developer-edition", "Firefox Developer Edition", "Firefox Developer Edition",
     Family::gecko, true},
    {"firefox-nightly", "Firefox Nightly", "Firefox Nightly", Family::gecko, true},
    {"librewolf", "LibreWolf", "LibreWolf", Family::gecko, true},
    {"waterfox", "Waterfox", "Waterfox", Family::gecko, true},
    {"floorp", "Floorp", "Floorp", Family::gecko, true},
    {"zen", "Zen", "Zen", Family::gecko, true},
    {"app.zen_browser.zen", "Zen", "Zen", Family::gecko, true},
    {"google-chrome", "Google Chrome", "Google Chrome", Family::chromium, true},
    {"google-chrome-beta", "Google Chrome Beta", "Chrome Beta", Family::chromium, true},
    {"google-chrome-unstable", "Google Chrome Dev", "Chrome Dev", Family::chromium, true},
    {"com.google.Chrome.flextop", "Google Chrome", "Google Chrome", Family::chromium, true},
    {"chromium", "Chromium", "Chromium", Family::chromium, true},
    {"chromium-browser", "Chromium", "Chromium", Family::chromium, true},
    {"chromium_chromium", "Chromium", "Chromium", Family::chromium, true},
    {"brave-browser", "Brave Browser", "Brave", Family::chromium, true},
    {"brave-browser-beta", "Brave Browser Beta", "Brave Beta", Family::chromium, true},
    {"brave-browser-nightly", "Brave Browser Nightly", "Brave Nightly", Family::chromium, true},
    {"microsoft-edge", "Microsoft Edge", "Microsoft Edge", Family::chromium, true},
    {"microsoft-edge-beta", "Microsoft Edge Beta", "Edge Beta", Family::chromium, true},
    {"microsoft-edge-dev", "Microsoft Edge Dev", "Edge Dev", Family::chromium, true},
    {"com.microsoft.Edge", "Microsoft Edge", "Microsoft Edge", Family::chromium, true},
    {"vivaldi-stable", "Vivaldi", "Vivaldi", Family::chromium, true},
    {"vivaldi-snapshot", "Vivaldi Snapshot", "Vivaldi Snapshot", Family::chromium, true},
    {"opera", "Opera", "Opera", Family::chromium, true},
    {"com.opera.Opera", "Opera", "Opera", Family::chromium, true},
    {"org.gnome.Epiphany", "Web", "GNOME Web", Family::safari, true},
    {"epiphany", "Web", "GNOME Web", Family::safari, true},
};

}  // namespace

std::string_view rawValue(BrowserFamily family) {
  constexpr std::array<std::string_view, 3> kRaw = {"safari", "chromium", "gecko"};
  return kRaw[static_cast<size_t>(family)];
}

std::span<const Entry> BrowserCatalog::entries() {
  return kEntries;
}

const Entry* BrowserCatalog::entry(std::string_view bundleId,
                                   std::span<const std::string> aliases) {
  static const auto* const index = [] {
    auto* made = new AliasIndex<const Entry*>();
    for (const Entry& entry : kEntries) made->add(entry.bundleIdentifier, &entry);
    return made;
  }();
  return index->find(bundleId, aliases).value_or(nullptr);
}

bool BrowserCatalog::usesChromeTerms(const Entry& entry) {
  return entry.scriptName == "Vivaldi" || entry.scriptName == "Vivaldi Snapshot";
}

}  // namespace velto
