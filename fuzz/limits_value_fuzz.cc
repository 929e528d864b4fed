// Feeds arbitrary JSON as the stored "velto.limits" value: decoding must never crash or throw,
// and every rule it accepts must come back unchanged through the encoder.
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "limits/limit_store.h"
#include "limits/usage_limit.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const nlohmann::json stored = nlohmann::json::parse(data, data + size, nullptr, false);
  if (stored.is_discarded()) return 0;
  for (const velto::UsageLimit& limit : velto::decodeLimits(stored)) {
    velto::Result<velto::UsageLimit> again = velto::usageLimitFromJson(velto::toJson(limit));
    if (!again || !(*again == limit)) std::abort();
  }
  return 0;
}
