#include "summaries/loopback_endpoint.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include "base/strings.h"

namespace velto {

namespace {

constexpr std::string_view kDefaultPath = "/v1/chat/completions";

std::string lowered(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

}  // namespace

bool isLoopbackHost(std::string_view host) {
  const std::string name = lowered(host);
  if (name == "localhost") return true;
  in_addr v4{};
  if (inet_pton(AF_INET, name.c_str(), &v4) == 1) {
    return (ntohl(v4.s_addr) >> 24) == 127;
  }
  in6_addr v6{};
  if (inet_pton(AF_INET6, name.c_str(), &v6) == 1) {
    if (IN6_IS_ADDR_LOOPBACK(&v6)) return true;
    return IN6_IS_ADDR_V4MAPPED(&v6) && v6.s6_addr[12] == 127;
  }
  return false;
}

Result<LoopbackEndpoint> loopbackEndpoint(std::string_view address, std::string_view language) {
  const std::string original(address);
  auto invalid = [&] {
    return Error{i18n::text(language, "summary.endpoint.invalid %@", original)};
  };
  std::string_view rest = address;
  while (!rest.empty() && rest.front() == ' ') rest.remove_prefix(1);
  while (!rest.empty() && rest.back() == ' ') rest.remove_suffix(1);
  if (const size_t scheme = rest.find("://"); scheme != std::string_view::npos) {
    if (lowered(rest.substr(0, scheme)) != "http") return invalid();
    rest.remove_prefix(scheme + 3);
  }
  const size_t slash = rest.find('/');
  std::string_view authority = rest.substr(0, slash);
  const std::string_view path = slash == std::string_view::npos ? "" : rest.substr(slash);
  if (authority.find('@') != std::string_view::npos) return invalid();

  LoopbackEndpoint endpoint;
  std::string_view port;
  if (authority.starts_with("[")) {
    const size_t close = authority.find(']');
    if (close == std::string_view::npos) return invalid();
    endpoint.host = std::string(authority.substr(1, close - 1));
    std::string_view after = authority.substr(close + 1);
    if (!after.empty()) {
      if (after.front() != ':') return invalid();
      port = after.substr(1);
    }
  } else {
    const size_t colon = authority.find(':');
    endpoint.host = std::string(authority.substr(0, colon));
    if (colon != std::string_view::npos) port = authority.substr(colon + 1);
  }
  if (endpoint.host.empty()) return invalid();
  if (!port.empty()) {
    int value = 0;
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), value);
    if (error != std::errc() || end != port.data() + port.size() || value < 1 || value > 65535) {
      return invalid();
    }
    endpoint.port = value;
  }
  if (!isLoopbackHost(endpoint.host)) {
    return Error{i18n::text(language, "summary.endpoint.notLoopback %@", original)};
  }
  endpoint.path = path.empty() || path == "/" ? std::string(kDefaultPath) : std::string(path);
  return endpoint;
}

}  // namespace velto
