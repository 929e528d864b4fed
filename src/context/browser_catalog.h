// The browsers whose active tab can be read, keyed by bundle identifier (on Linux: the desktop
// file id or the lower-cased WM_CLASS). The macOS identifiers and the Linux ones share one table;
// a lookup tries the identifier exactly, then the catalog keys of it and of the window's other
// names (context/app_identity.h).
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velto {

enum class BrowserFamily { safari, chromium, gecko };

std::string_view rawValue(BrowserFamily family);

class BrowserCatalog {
 public:
  struct Entry {
    std::string_view bundleIdentifier;
    std::string_view scriptName;   // the application name used in scripts
    std::string_view displayName;  // shown in settings
    BrowserFamily family;
    bool accessibilityFallback;  // read through accessibility when scripting fails
  };

  // Every entry, in catalog order: the 30 macOS browsers first, then the Linux identifiers.
  static std::span<const Entry> entries();
  // The entry for `bundleId`, or null. The pointer stays valid for the life of the process.
  static const Entry* entry(std::string_view bundleId, std::span<const std::string> aliases = {});
  static bool isBrowser(std::string_view bundleId, std::span<const std::string> aliases = {}) {
    return entry(bundleId, aliases) != nullptr;
  }
  // True for browsers whose scripting dictionary is Google Chrome's, so that their scripts are
  // compiled against it.
  static bool usesChromeTerms(const Entry& entry);
};

}  // namespace velto
