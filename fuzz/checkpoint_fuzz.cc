// Feeds arbitrary bytes to the checkpoint decoder: it must never crash, and whatever it accepts
// must survive a round trip through the encoder.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "recording/segment_checkpoint.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  velto::Result<velto::SegmentCheckpoint> decoded = velto::decodeCheckpoint(bytes);
  if (decoded) {
    velto::Result<velto::SegmentCheckpoint> again =
        velto::decodeCheckpoint(velto::encodeCheckpoint(*decoded));
    if (!again || again->context != decoded->context) std::abort();
  }
  return 0;
}
