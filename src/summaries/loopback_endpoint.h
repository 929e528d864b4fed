// The address of an OpenAI-compatible chat endpoint that the written summary may use instead of
// the built-in writer ("velto.aiModelEndpoint"). Only addresses on this computer are accepted:
// the host must be "localhost", an IPv4 address in 127.0.0.0/8 or the IPv6 address ::1. Anything
// else is refused here, before any connection is attempted.
#pragma once

#include <string>
#include <string_view>

#include "base/result.h"

namespace velto {

struct LoopbackEndpoint {
  std::string host;  // without brackets: "127.0.0.1", "::1", "localhost"
  int port = 80;
  std::string path;  // "/v1/chat/completions" when the address names no path

  bool operator==(const LoopbackEndpoint&) const = default;
};

// True for "localhost" (any case), 127.0.0.0/8 and ::1 (also written as ::ffff:127.x.y.z).
bool isLoopbackHost(std::string_view host);

// Reads "http://host[:port][/path]"; the scheme may be left out. IPv6 hosts are written in
// brackets ("http://[::1]:8080"). Errors are catalog texts in `language`, naming the address.
Result<LoopbackEndpoint> loopbackEndpoint(std::string_view address, std::string_view language);

}  // namespace velto
