#include "summaries/loopback_http.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>

namespace velto {

namespace {

constexpr size_t kLargestReply = 8 * 1024 * 1024;

class Socket {
 public:
  explicit Socket(int fd) : fd_(fd) {}
  ~Socket() {
    if (fd_ >= 0) ::close(fd_);
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  int fd() const { return fd_; }

 private:
  int fd_;
};

std::string lowered(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

bool isLoopbackAddress(const sockaddr* address) {
  char text[INET6_ADDRSTRLEN] = {};
  if (address->sa_family == AF_INET) {
    inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text, sizeof text);
  } else if (address->sa_family == AF_INET6) {
    inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr, text,
              sizeof text);
  } else {
    return false;
  }
  return isLoopbackHost(text);
}

Result<int> connected(const LoopbackEndpoint& endpoint, double timeoutSeconds) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const std::string port = std::to_string(endpoint.port);
  if (const int failed = getaddrinfo(endpoint.host.c_str(), port.c_str(), &hints, &found);
      failed != 0) {
    return Error{std::string("cannot resolve ") + endpoint.host + ": " + gai_strerror(failed)};
  }
  std::string lastError = "no loopback address for " + endpoint.host;
  timeval timeout{};
  timeout.tv_sec = static_cast<time_t>(timeoutSeconds);
  timeout.tv_usec = static_cast<suseconds_t>((timeoutSeconds - std::floor(timeoutSeconds)) * 1e6);
  int result = -1;
  for (addrinfo* at = found; at != nullptr && result < 0; at = at->ai_next) {
    // Resolution must not lead off the machine, whatever the name said.
    if (!isLoopbackAddress(at->ai_addr)) continue;
    const int fd = ::socket(at->ai_family, at->ai_socktype | SOCK_CLOEXEC, at->ai_protocol);
    if (fd < 0) {
      lastError = std::strerror(errno);
      continue;
    }
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    if (::connect(fd, at->ai_addr, at->ai_addrlen) == 0) {
      result = fd;
    } else {
      lastError = "cannot connect to " + endpoint.host + ":" + port + ": " + std::strerror(errno);
      ::close(fd);
    }
  }
  freeaddrinfo(found);
  if (result < 0) return Error{lastError};
  return result;
}

std::optional<size_t> hexNumber(std::string_view text) {
  size_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  return value;
}

Result<std::string> unchunked(std::string_view body) {
  std::string out;
  while (true) {
    const size_t lineEnd = body.find("\r\n");
    if (lineEnd == std::string_view::npos) return Error{"truncated chunked body"};
    const std::optional<size_t> size = hexNumber(body.substr(0, lineEnd));
    if (!size) return Error{"bad chunk size"};
    body.remove_prefix(lineEnd + 2);
    if (*size == 0) return out;
    if (body.size() < *size) return Error{"truncated chunk"};
    out.append(body.substr(0, *size));
    body.remove_prefix(*size);
    if (body.starts_with("\r\n")) body.remove_prefix(2);
  }
}

}  // namespace

Result<HttpReply> parseHttpReply(std::string_view response) {
  const size_t headerEnd = response.find("\r\n\r\n");
  if (headerEnd == std::string_view::npos || !response.starts_with("HTTP/1.")) {
    return Error{"not an HTTP reply"};
  }
  const std::string_view head = response.substr(0, headerEnd);
  std::string_view body = response.substr(headerEnd + 4);
  HttpReply reply;
  const size_t space = head.find(' ');
  if (space == std::string_view::npos || head.size() < space + 4) return Error{"bad status line"};
  const std::string_view code = head.substr(space + 1, 3);
  if (std::from_chars(code.data(), code.data() + 3, reply.status).ec != std::errc()) {
    return Error{"bad status line"};
  }
  bool chunked = false;
  std::optional<size_t> length;
  size_t lineStart = head.find("\r\n");
  while (lineStart != std::string_view::npos) {
    lineStart += 2;
    const size_t lineEnd = head.find("\r\n", lineStart);
    const std::string_view line = head.substr(lineStart, lineEnd - lineStart);
    const size_t colon = line.find(':');
    if (colon != std::string_view::npos) {
      const std::string name = lowered(line.substr(0, colon));
      std::string_view value = line.substr(colon + 1);
      while (!value.empty() && value.front() == ' ') value.remove_prefix(1);
      if (name == "transfer-encoding" && lowered(value).find("chunked") != std::string::npos) {
        chunked = true;
      } else if (name == "content-length") {
        size_t n = 0;
        if (std::from_chars(value.data(), value.data() + value.size(), n).ec == std::errc()) {
          length = n;
        }
      }
    }
    lineStart = lineEnd;
  }
  if (chunked) {
    Result<std::string> plain = unchunked(body);
    if (!plain) return Error{plain.error()};
    reply.body = std::move(plain).value();
  } else if (length) {
    if (body.size() < *length) return Error{"truncated body"};
    reply.body = std::string(body.substr(0, *length));
  } else {
    reply.body = std::string(body);
  }
  return reply;
}

Result<HttpReply> postJson(const LoopbackEndpoint& endpoint, std::string_view body,
                           double timeoutSeconds) {
  Result<int> fd = connected(endpoint, timeoutSeconds);
  if (!fd) return Error{fd.error()};
  const Socket socket(*fd);
  const bool v6 = endpoint.host.find(':') != std::string::npos;
  std::string request = "POST " + endpoint.path +
                        " HTTP/1.1\r\nHost: " + (v6 ? "[" + endpoint.host + "]" : endpoint.host) +
                        ":" + std::to_string(endpoint.port) +
                        "\r\nContent-Type: application/json\r\nAccept: application/json\r\n"
                        "Content-Length: " +
                        std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n";
  request.append(body);
  for (size_t sent = 0; sent < request.size();) {
    const ssize_t n =
        ::send(socket.fd(), request.data() + sent, request.size() - sent, MSG_NOSIGNAL);
    if (n < 0) {
      if (errno == EINTR) continue;
      return Error{std::string("cannot send the request: ") + std::strerror(errno)};
    }
    sent += static_cast<size_t>(n);
  }
  std::string response;
  char buffer[16384];
  while (true) {
    const ssize_t n = ::recv(socket.fd(), buffer, sizeof buffer, 0);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      if (errno == EAGAIN || errno == EWOULDBLOCK) return Error{"no answer before the timeout"};
      return Error{std::string("cannot read the answer: ") + std::strerror(errno)};
    }
    response.append(buffer, static_cast<size_t>(n));
    if (response.size() > kLargestReply) return Error{"the answer is too large"};
  }
  return parseHttpReply(response);
}

}  // namespace velto
