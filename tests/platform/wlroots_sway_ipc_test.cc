#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "platform/linux/sway_ipc.h"
#include "test_support/temp_dir.h"

namespace velto::platform {
namespace {

// A GET_TREE reply as sway 1.7 gives it, trimmed to the fields that matter: two foot windows
// on one workspace (the second focused), a floating window, and an X11 client.
constexpr const char* kTree = R"({
  "id": 1, "type": "root", "name": "root", "focused": false, "nodes": [
    {"id": 2147483647, "type": "output", "name": "__i3", "nodes": [
      {"id": 2147483646, "type": "workspace", "name": "__i3_scratch", "nodes": [],
       "floating_nodes": []}]},
    {"id": 3, "type": "output", "name": "HEADLESS-1", "focused": false, "nodes": [
      {"id": 4, "type": "workspace", "name": "1", "focused": false, "nodes": [
        {"id": 5, "type": "con", "name": "shell", "app_id": "foot", "pid": 101,
         "focused": false, "nodes": [], "floating_nodes": []},
        {"id": 6, "type": "con", "name": null, "layout": "splitv", "focused": false,
         "nodes": [
           {"id": 7, "type": "con", "name": "vim notes", "app_id": "foot", "pid": 102,
            "focused": true, "nodes": [], "floating_nodes": []}],
         "floating_nodes": []}],
       "floating_nodes": [
        {"id": 8, "type": "floating_con", "name": "Calculator",
         "app_id": "org.gnome.Calculator", "pid": 103, "focused": false, "nodes": []}]},
      {"id": 9, "type": "workspace", "name": "2", "nodes": [
        {"id": 10, "type": "con", "name": "xterm", "app_id": null, "pid": 104,
         "window_properties": {"class": "XTerm", "instance": "xterm"}, "focused": false,
         "nodes": []}]}]}]})";

TEST(WlrootsSwayIpc, TheFrontWindowIsTheFocusedViewOfItsAppId) {
  // The front toplevel's title may already be newer than the tree's; focus decides.
  EXPECT_EQ(swayWindowPid(kTree, "foot", "vim notes (modified)", true), 102);
  // A window not in front is found by app_id and title among windows of one application.
  EXPECT_EQ(swayWindowPid(kTree, "foot", "shell", false), 101);
  EXPECT_EQ(swayWindowPid(kTree, "foot", "vim notes", false), 102);
  // Two foot windows and neither title fits: no guess.
  EXPECT_EQ(swayWindowPid(kTree, "foot", "other", false), 0);
  // The only view of an application needs no title, and may float.
  EXPECT_EQ(swayWindowPid(kTree, "org.gnome.Calculator", "renamed", true), 103);
  // X11 clients by their class.
  EXPECT_EQ(swayWindowPid(kTree, "XTerm", "xterm", true), 104);
  EXPECT_EQ(swayWindowPid(kTree, "firefox", "page", true), 0);
  EXPECT_EQ(swayWindowPid(kTree, "", "shell", true), 0);
}

TEST(WlrootsSwayIpc, BrokenRepliesGiveNoPid) {
  EXPECT_EQ(swayWindowPid("", "foot", "shell", true), 0);
  EXPECT_EQ(swayWindowPid("{\"nodes\": [", "foot", "shell", true), 0);
  EXPECT_EQ(swayWindowPid("[1, 2]", "foot", "shell", true), 0);
  EXPECT_EQ(swayWindowPid(R"({"nodes": [{"app_id": "foot", "pid": "12", "focused": true}]})",
                          "foot", "", true),
            0);
  EXPECT_EQ(swayWindowPid(R"({"nodes": [{"app_id": "foot", "pid": -1, "focused": true}]})", "foot",
                          "", true),
            0);
  EXPECT_EQ(swayWindowPid(R"({"nodes": [{"app_id": "foot", "pid": 7, "focused": true}]})", "foot",
                          "", true),
            7);
}

TEST(WlrootsSwayIpc, MessagesCarryMagicLengthAndType) {
  const std::string message = swayIpcMessage(kSwayGetTree, "{}");
  ASSERT_EQ(message.size(), 16u);
  EXPECT_EQ(message.substr(0, 6), "i3-ipc");
  EXPECT_EQ(message.substr(14), "{}");
  const auto header = parseSwayIpcHeader(message);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->length, 2u);
  EXPECT_EQ(header->type, kSwayGetTree);
  EXPECT_FALSE(parseSwayIpcHeader(message.substr(0, 13)));
  EXPECT_FALSE(parseSwayIpcHeader("i3-ipX" + message.substr(6)));
}

// A one-connection server on a unix socket that reads the request and then runs `answer`.
class FakeSway {
 public:
  explicit FakeSway(const std::string& path) : path_(path) {
    listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    bound_ = ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
             ::listen(listener_, 1) == 0;
  }
  ~FakeSway() {
    if (thread_.joinable()) thread_.join();
    ::close(listener_);
  }
  bool bound() const { return bound_; }

  template <typename Answer>
  void serve(Answer answer) {
    thread_ = std::thread([this, answer] {
      const int client = ::accept(listener_, nullptr, nullptr);
      if (client < 0) return;
      char request[14];
      size_t got = 0;
      while (got < sizeof request) {
        const ssize_t n = ::read(client, request + got, sizeof request - got);
        if (n <= 0) break;
        got += static_cast<size_t>(n);
      }
      request_.assign(request, got);
      answer(client);
      ::close(client);
    });
  }
  // The request as received; read after the client is done.
  std::string request() {
    if (thread_.joinable()) thread_.join();
    return request_;
  }

 private:
  std::string path_;
  int listener_ = -1;
  bool bound_ = false;
  std::thread thread_;
  std::string request_;
};

void writeAll(int fd, const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0) return;
    done += static_cast<size_t>(n);
  }
}

TEST(WlrootsSwayIpc, GetTreeReadsAReplySentInPieces) {
  velto::testing::TempDir dir;
  const std::string path = (dir / "sway.sock").string();
  FakeSway sway(path);
  ASSERT_TRUE(sway.bound());
  const std::string reply = swayIpcMessage(kSwayGetTree, kTree);
  sway.serve([&reply](int client) {
    writeAll(client, reply.substr(0, 10));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    writeAll(client, reply.substr(10));
  });
  const std::optional<std::string> tree = swayGetTree(path, std::chrono::milliseconds(2000));
  EXPECT_EQ(sway.request(), swayIpcMessage(kSwayGetTree, {}));
  ASSERT_TRUE(tree);
  EXPECT_EQ(*tree, kTree);
}

TEST(WlrootsSwayIpc, GetTreeGivesUpOnSilenceTruncationAndOtherReplies) {
  velto::testing::TempDir dir;
  {
    const std::string path = (dir / "silent.sock").string();
    FakeSway sway(path);
    ASSERT_TRUE(sway.bound());
    sway.serve([](int) { std::this_thread::sleep_for(std::chrono::milliseconds(300)); });
    EXPECT_FALSE(swayGetTree(path, std::chrono::milliseconds(50)));
  }
  {
    const std::string path = (dir / "short.sock").string();
    FakeSway sway(path);
    ASSERT_TRUE(sway.bound());
    sway.serve([](int client) {
      writeAll(client, swayIpcMessage(kSwayGetTree, "[1, 2, 3]").substr(0, 18));
    });
    EXPECT_FALSE(swayGetTree(path, std::chrono::milliseconds(2000)));
  }
  {
    const std::string path = (dir / "event.sock").string();
    FakeSway sway(path);
    ASSERT_TRUE(sway.bound());
    sway.serve([](int client) { writeAll(client, swayIpcMessage(0x80000000u, "{}")); });
    EXPECT_FALSE(swayGetTree(path, std::chrono::milliseconds(2000)));
  }
  EXPECT_FALSE(swayGetTree((dir / "nobody.sock").string(), std::chrono::milliseconds(50)));
  EXPECT_FALSE(swayGetTree("", std::chrono::milliseconds(50)));
}

}  // namespace
}  // namespace velto::platform
