// Files well-known applications into an AppFamily with a TitleStrategy, and knows the front
// applications that are never tracked (the lock screen, authentication prompts, this program).
//
// One table serves macOS bundle identifiers and the Linux desktop file ids and window classes of
// the same applications. A lookup tries the identifier exactly, then every catalog key of it and
// of `aliases` (the other names the window carries; see context/app_identity.h).
#pragma once

#include <optional>
#include <span>
#include <string>
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
  static std::optional<AppFamily> family(std::string_view bundleId,
                                         std::span<const std::string> aliases = {});
  // The title strategy of a catalog entry; none for browsers and unknown applications.
  static std::optional<TitleStrategy> strategy(std::string_view bundleId,
                                               std::span<const std::string> aliases = {});
  static bool isTerminal(std::string_view bundleId, std::span<const std::string> aliases = {});

  // True for front applications that yield no context at all.
  static bool isNeverTracked(std::string_view bundleId, std::span<const std::string> aliases = {});
};

}  // namespace velto
