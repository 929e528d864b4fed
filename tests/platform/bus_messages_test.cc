// Reading what logind sends: session property changes and the inhibitor list. Messages are
// built by sd-bus itself on a connection to a socket pair, so no bus daemon is needed.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/linux/bus_connection.h"
#include "platform/linux/dbus_session_watch.h"
#include "platform/linux/inhibitor_assertions.h"
#include "platform/linux/shell_reports.h"

namespace velto::platform {
namespace {

using S = SessionSignal;

// A peer-to-peer connection that is started but never talks: enough to make messages.
class MessageFactory {
 public:
  MessageFactory() {
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds_), 0);
    sd_bus* raw = nullptr;
    EXPECT_GE(sd_bus_new(&raw), 0);
    bus_.reset(raw);
    EXPECT_GE(sd_bus_set_fd(raw, fds_[0], fds_[0]), 0);
    EXPECT_GE(sd_bus_start(raw), 0);
  }
  ~MessageFactory() {
    bus_.reset();  // closes fds_[0]
    ::close(fds_[1]);
  }

  // A signal whose body `fill` appends; sealed and rewound, ready to read.
  template <typename Fill>
  bus::Message signal(Fill fill) {
    sd_bus_message* raw = nullptr;
    EXPECT_GE(sd_bus_message_new_signal(bus_.get(), &raw, "/org/freedesktop/login1/session/_31",
                                        "org.freedesktop.DBus.Properties", "PropertiesChanged"),
              0);
    bus::Message message(raw);
    EXPECT_GE(fill(raw), 0);
    EXPECT_GE(sd_bus_message_seal(raw, ++cookie_, 0), 0);
    EXPECT_GE(sd_bus_message_rewind(raw, 1), 0);
    return message;
  }

 private:
  int fds_[2] = {-1, -1};
  bus::Connection bus_;
  std::uint64_t cookie_ = 0;
};

constexpr const char* kSession = "org.freedesktop.login1.Session";

TEST(SessionProperties, ChangesBecomeSignalsLockFirstAndOtherPropertiesAreSkipped) {
  MessageFactory factory;
  struct Case {
    const char* name;
    std::function<int(sd_bus_message*)> fill;
    std::vector<S> signals;
    std::vector<std::string> invalidated;
  };
  const std::vector<Case> cases = {
      {"both, among others",
       [](sd_bus_message* m) {
         return sd_bus_message_append(m, "sa{sv}as", kSession, 4, "IdleHint", "b", 1, "Active", "b",
                                      0, "Name", "s", "ada", "LockedHint", "b", 1, 0);
       },
       {S::screenLocked, S::sessionDidResignActive},
       {}},
      {"unlock only",
       [](sd_bus_message* m) {
         return sd_bus_message_append(m, "sa{sv}as", kSession, 1, "LockedHint", "b", 0, 0);
       },
       {S::screenUnlocked},
       {}},
      {"active, the rest invalidated",
       [](sd_bus_message* m) {
         return sd_bus_message_append(m, "sa{sv}as", kSession, 1, "Active", "b", 1, 2, "LockedHint",
                                      "IdleSinceHint");
       },
       {S::sessionDidBecomeActive},
       {"LockedHint", "IdleSinceHint"}},
      {"a boolean name with another type is ignored",
       [](sd_bus_message* m) {
         return sd_bus_message_append(m, "sa{sv}as", kSession, 2, "LockedHint", "s", "yes",
                                      "Active", "b", 1, 0);
       },
       {S::sessionDidBecomeActive},
       {}},
  };
  for (const Case& c : cases) {
    bus::Message message = factory.signal(c.fill);
    const std::optional<SessionPropertyChange> change =
        parseSessionPropertiesChanged(message.get());
    ASSERT_TRUE(change) << c.name;
    EXPECT_EQ(sessionSignals(*change), c.signals) << c.name;
    EXPECT_EQ(change->invalidated, c.invalidated) << c.name;
  }
}

TEST(SessionProperties, OtherInterfacesAndMalformedBodiesSayNothing) {
  MessageFactory factory;
  bus::Message user = factory.signal([](sd_bus_message* m) {
    return sd_bus_message_append(m, "sa{sv}as", "org.freedesktop.login1.User", 1, "LockedHint", "b",
                                 1, 0);
  });
  EXPECT_FALSE(parseSessionPropertiesChanged(user.get()));
  bus::Message shape =
      factory.signal([](sd_bus_message* m) { return sd_bus_message_append(m, "sb", kSession, 1); });
  EXPECT_FALSE(parseSessionPropertiesChanged(shape.get()));
}

TEST(Inhibitors, ListReplyReadsEveryRowAndRejectsOtherShapes) {
  MessageFactory factory;
  bus::Message list = factory.signal([](sd_bus_message* m) {
    return sd_bus_message_append(m, "a(ssssuu)", 2, "idle:sleep", "Player", "Playing video",
                                 "block", 1000u, 4242u, "shutdown", "Updater", "Installing",
                                 "delay", 0u, 17u);
  });
  const std::optional<std::vector<LogindInhibitor>> rows = parseLogindInhibitors(list.get());
  ASSERT_TRUE(rows);
  ASSERT_EQ(rows->size(), 2u);
  EXPECT_EQ((*rows)[0].what, "idle:sleep");
  EXPECT_EQ((*rows)[0].who, "Player");
  EXPECT_EQ((*rows)[0].pid, 4242);
  EXPECT_TRUE(blocksIdle((*rows)[0]));
  EXPECT_EQ((*rows)[1].mode, "delay");
  EXPECT_EQ((*rows)[1].uid, 0u);
  EXPECT_FALSE(blocksIdle((*rows)[1]));

  bus::Message empty =
      factory.signal([](sd_bus_message* m) { return sd_bus_message_append(m, "a(ssssuu)", 0); });
  ASSERT_TRUE(parseLogindInhibitors(empty.get()));
  EXPECT_TRUE(parseLogindInhibitors(empty.get())->empty());

  bus::Message other = factory.signal(
      [](sd_bus_message* m) { return sd_bus_message_append(m, "a(ssss)", 1, "a", "b", "c", "d"); });
  EXPECT_FALSE(parseLogindInhibitors(other.get()));
}

TEST(ShellWindowReports, ReadTheFocusedWindowAndRefuseOtherBodies) {
  MessageFactory factory;
  bus::Message terminal = factory.signal([](sd_bus_message* m) {
    return sd_bus_message_append(m, "sssssi", "1234", "Gnome-terminal", "gnome-terminal-server",
                                 "org.gnome.Terminal.desktop", "~ — bash", 812);
  });
  const std::optional<ShellWindow> window = readWindowReport(terminal.get());
  ASSERT_TRUE(window);
  EXPECT_EQ(window->key, "1234");
  EXPECT_EQ(window->windowClass, "Gnome-terminal");
  EXPECT_EQ(window->instance, "gnome-terminal-server");
  EXPECT_EQ(window->appId, "org.gnome.Terminal");  // without ".desktop"
  EXPECT_EQ(window->title, "~ — bash");
  EXPECT_EQ(window->pid, 812);

  bus::Message nothing = factory.signal(
      [](sd_bus_message* m) { return sd_bus_message_append(m, "sssssi", "", "", "", "", "", -1); });
  const std::optional<ShellWindow> none = readWindowReport(nothing.get());
  ASSERT_TRUE(none);
  EXPECT_TRUE(none->key.empty());
  EXPECT_EQ(none->pid, 0);  // unknown, never negative

  bus::Message shortBody = factory.signal(
      [](sd_bus_message* m) { return sd_bus_message_append(m, "sssss", "1", "a", "b", "c", "d"); });
  EXPECT_FALSE(readWindowReport(shortBody.get()));
  bus::Message unsignedPid = factory.signal([](sd_bus_message* m) {
    return sd_bus_message_append(m, "sssssu", "1", "a", "b", "c", "d", 5u);
  });
  EXPECT_FALSE(readWindowReport(unsignedPid.get()));
}

}  // namespace
}  // namespace velto::platform
