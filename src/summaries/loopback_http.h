// A small blocking HTTP/1.1 client for one JSON POST to a loopback endpoint, used by the
// optional model client on its worker thread. It connects only to resolved addresses that are
// loopback, sends "Connection: close" and reads the whole reply (plain or chunked body).
// Thread: any; blocks the calling thread for up to the timeout per send and receive.
#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "summaries/loopback_endpoint.h"

namespace velto {

struct HttpReply {
  int status = 0;
  std::string body;  // chunked transfer coding already removed
};

Result<HttpReply> postJson(const LoopbackEndpoint& endpoint, std::string_view body,
                           double timeoutSeconds);

// Splits a complete HTTP/1.x response into status and body.
Result<HttpReply> parseHttpReply(std::string_view response);

}  // namespace velto
