// Files well-known applications into an AppFamily with a TitleStrategy, and knows the front
// applications that are never tracked (the lock screen, authentication prompts, this program).
//
// Identifiers are compared exactly. One table serves macOS bundle identifiers and the Linux
// desktop file ids and lower-cased WM_CLASS names of the same applications.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "context/app_family.h"

namespace velto {

class AppCatalog {
 public:
  struct Entry {
    std::string_view bundleIdentifier;
    AppFamily family;
    TitleStrategy strategy;
  };

  // The fixed list, in order: the 45 macOS entries, then the Linux identifiers.
  static std::span<const Entry> entries();

  // The browser catalog is asked first (a hit is `browser`), then this table; none: unknown.
  static std::optional<AppFamily> family(std::string_view bundleId);
  // The title strategy of a catalog entry; none for browsers and unknown applications.
  static std::optional<TitleStrategy> strategy(std::string_view bundleId);
  static bool isTerminal(std::string_view bundleId);

  // True for front applications that yield no context at all.
  static bool isNeverTracked(std::string_view bundleId);
};

}  // namespace velto
