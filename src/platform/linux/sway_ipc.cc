#include "platform/linux/sway_ipc.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <vector>

namespace velto::platform {

namespace {

constexpr std::string_view kMagic = "i3-ipc";
constexpr size_t kHeaderSize = kMagic.size() + 2 * sizeof(std::uint32_t);
// A layout tree is a few kilobytes per window; anything far larger is not a reply to trust.
constexpr std::uint32_t kMaximumReply = 64u << 20;

struct View {
  const nlohmann::json* node;
  bool focused;
};

std::string text(const nlohmann::json& node, const char* key) {
  auto found = node.find(key);
  return found != node.end() && found->is_string() ? found->get<std::string>() : std::string();
}

// The application name sway shows for a view: the app_id, or an X11 client's class.
std::string viewAppId(const nlohmann::json& node) {
  std::string appId = text(node, "app_id");
  if (!appId.empty()) return appId;
  auto properties = node.find("window_properties");
  return properties != node.end() && properties->is_object() ? text(*properties, "class")
                                                             : std::string();
}

void collectViews(const nlohmann::json& node, std::vector<View>& views, int depth) {
  if (!node.is_object() || depth > 64) return;
  const bool isView =
      node.contains("pid") && (node.contains("app_id") || node.contains("window_properties"));
  if (isView) {
    auto focused = node.find("focused");
    views.push_back(
        {&node, focused != node.end() && focused->is_boolean() && focused->get<bool>()});
  }
  for (const char* children : {"nodes", "floating_nodes"}) {
    auto list = node.find(children);
    if (list == node.end() || !list->is_array()) continue;
    for (const nlohmann::json& child : *list) collectViews(child, views, depth + 1);
  }
}

int pidOf(const nlohmann::json& node) {
  auto pid = node.find("pid");
  if (pid == node.end() || !pid->is_number_integer()) return 0;
  const auto value = pid->get<std::int64_t>();
  return value > 0 && value <= 0x7fffffff ? static_cast<int>(value) : 0;
}

// The pid of the one view `fits` accepts; 0 when none or several do.
template <typename Fits>
int onlyPid(const std::vector<View>& views, Fits fits) {
  const View* found = nullptr;
  for (const View& view : views) {
    if (!fits(view)) continue;
    if (found != nullptr) return 0;
    found = &view;
  }
  return found != nullptr ? pidOf(*found->node) : 0;
}

bool waitFor(int fd, short events, std::chrono::steady_clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    pollfd watched{fd, events, 0};
    const int ready = ::poll(&watched, 1, static_cast<int>(left.count()));
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
  }
}

bool readExactly(int fd, char* into, size_t size, std::chrono::steady_clock::time_point deadline) {
  size_t done = 0;
  while (done < size) {
    if (!waitFor(fd, POLLIN, deadline)) return false;
    const ssize_t got = ::recv(fd, into + done, size - done, MSG_DONTWAIT);
    if (got == 0) return false;
    if (got < 0) {
      if (errno == EINTR || errno == EAGAIN) continue;
      return false;
    }
    done += static_cast<size_t>(got);
  }
  return true;
}

}  // namespace

std::string swayIpcMessage(std::uint32_t type, std::string_view payload) {
  std::string message(kMagic);
  const auto length = static_cast<std::uint32_t>(payload.size());
  message.append(reinterpret_cast<const char*>(&length), sizeof length);
  message.append(reinterpret_cast<const char*>(&type), sizeof type);
  message.append(payload);
  return message;
}

std::optional<SwayIpcHeader> parseSwayIpcHeader(std::string_view header) {
  if (header.size() < kHeaderSize || header.substr(0, kMagic.size()) != kMagic) return std::nullopt;
  SwayIpcHeader parsed;
  std::memcpy(&parsed.length, header.data() + kMagic.size(), sizeof parsed.length);
  std::memcpy(&parsed.type, header.data() + kMagic.size() + sizeof parsed.length,
              sizeof parsed.type);
  return parsed;
}

int swayWindowPid(std::string_view tree, std::string_view appId, std::string_view title,
                  bool focused) {
  if (appId.empty()) return 0;
  const nlohmann::json root = nlohmann::json::parse(tree, nullptr, false);
  if (root.is_discarded()) return 0;
  std::vector<View> views;
  collectViews(root, views, 0);
  for (const View& view : views) {
    if (focused && view.focused && viewAppId(*view.node) == appId) return pidOf(*view.node);
  }
  if (int pid = onlyPid(views,
                        [&](const View& view) {
                          return viewAppId(*view.node) == appId &&
                                 text(*view.node, "name") == title;
                        });
      pid > 0) {
    return pid;
  }
  return onlyPid(views, [&](const View& view) { return viewAppId(*view.node) == appId; });
}

std::optional<std::string> swayGetTree(const std::string& path, std::chrono::milliseconds timeout) {
  sockaddr_un address{};
  if (path.empty() || path.size() >= sizeof address.sun_path) return std::nullopt;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.data(), path.size());
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return std::nullopt;
  struct Closer {
    int fd;
    ~Closer() { ::close(fd); }
  } closer{fd};
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  // A local socket connects at once or not at all; EAGAIN means sway's backlog is full.
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return std::nullopt;
  }
  const std::string request = swayIpcMessage(kSwayGetTree, {});
  size_t sent = 0;
  while (sent < request.size()) {
    if (!waitFor(fd, POLLOUT, deadline)) return std::nullopt;
    const ssize_t put =
        ::send(fd, request.data() + sent, request.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (put < 0) {
      if (errno == EINTR || errno == EAGAIN) continue;
      return std::nullopt;
    }
    sent += static_cast<size_t>(put);
  }
  // Events are never subscribed on this connection, so the first reply is ours.
  char header[kHeaderSize];
  if (!readExactly(fd, header, sizeof header, deadline)) return std::nullopt;
  const std::optional<SwayIpcHeader> parsed = parseSwayIpcHeader({header, sizeof header});
  if (!parsed || parsed->type != kSwayGetTree || parsed->length > kMaximumReply) {
    return std::nullopt;
  }
  std::string payload(parsed->length, '\0');
  if (!readExactly(fd, payload.data(), payload.size(), deadline)) return std::nullopt;
  return payload;
}

}  // namespace velto::platform
