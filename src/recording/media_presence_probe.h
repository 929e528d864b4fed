// Is media holding the display awake? True when the front application, or a meeting
// application running anywhere, holds a display-sleep hold. A failed query counts as no.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "recording/platform_sources.h"

namespace velto {

class MediaPresenceProbe {
 public:
  explicit MediaPresenceProbe(PowerAssertionSource& source) : source_(source) {}
  virtual ~MediaPresenceProbe() = default;

  virtual bool isPresent(const std::optional<RunningApplication>& front);

  static bool isMeetingApplication(std::string_view bundleId,
                                   std::span<const std::string> aliases = {});
  static bool isDisplaySleepHold(std::string_view assertionType);

 private:
  PowerAssertionSource& source_;
};

}  // namespace velto
