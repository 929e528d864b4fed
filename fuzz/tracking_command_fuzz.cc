// Feeds arbitrary bytes to the tracking-command decoder: it must never crash, and whatever it
// accepts must survive a round trip (to whole seconds).
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "recording/tracking_command.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  velto::Result<velto::TrackingCommandRequest> decoded = velto::decodeTrackingCommand(bytes);
  if (decoded) {
    velto::Result<velto::TrackingCommandRequest> again =
        velto::decodeTrackingCommand(velto::encodeTrackingCommand(*decoded));
    if (!again || again->paused != decoded->paused) std::abort();
    (void)decoded->isFreshAt(decoded->requestedAt);
  }
  return 0;
}
