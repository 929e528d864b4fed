// Feeds arbitrary bytes to the kept-segments decoder: it must never crash, and whatever it
// accepts must survive a round trip through the encoder.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "store/kept_segments.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  velto::Result<std::vector<velto::Segment>> decoded = velto::decodeKeptSegments(bytes);
  if (decoded) {
    velto::Result<std::vector<velto::Segment>> again =
        velto::decodeKeptSegments(velto::encodeKeptSegments(*decoded));
    if (!again || *again != *decoded) std::abort();
  }
  return 0;
}
