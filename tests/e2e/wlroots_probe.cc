// Follows a wlroots compositor through WlrootsSession, for the desktop tests:
//   velto-e2e-wlroots
// Prints one JSON object a line on stdout: "start" (connected, idle protocol, the front window),
// then "front" at every activation and "title" at every title change of the front window. Each
// line read on stdin asks for a report: "idle" prints the seconds since the last input,
// "clients" the applications of every window. Stops at the end of stdin.
// Exit status 0, or 3 when the session is not connected.
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/linux/event_loop.h"
#include "platform/linux/event_scheduler.h"
#include "platform/linux/wlroots_session.h"

namespace {

using velto::RunningApplication;

nlohmann::json describe(const std::optional<RunningApplication>& app) {
  if (!app) return nullptr;
  return {{"bundleId", app->bundleId ? nlohmann::json(*app->bundleId) : nlohmann::json()},
          {"appName", app->appName},
          {"pid", app->pid},
          {"windowId", app->windowId}};
}

void print(const nlohmann::json& line) {
  std::printf("%s\n", line.dump().c_str());
  std::fflush(stdout);
}

}  // namespace

int main() {
  velto::platform::EventLoop loop;
  velto::platform::EventScheduler scheduler(loop);
  velto::platform::WlrootsSession session(loop, scheduler);
  const char* idle = session.idleSource();
  print({{"event", "start"},
         {"connected", session.isConnected()},
         {"idle", idle != nullptr ? nlohmann::json(idle) : nlohmann::json()},
         {"front", describe(session.frontmostApplication())}});
  if (!session.isConnected()) return 3;

  auto observeFront = [&session] {
    std::optional<RunningApplication> front = session.frontmostApplication();
    if (!front) {
      session.stop();
      return;
    }
    session.observe(*front, [&session, window = *front] {
      const std::optional<std::string> title = session.focusedWindowTitle(window);
      print({{"event", "title"},
             {"windowId", window.windowId},
             {"title", title ? nlohmann::json(*title) : nlohmann::json()}});
    });
  };
  session.setActivationHandler([&](const std::optional<RunningApplication>& app) {
    const std::optional<std::string> title =
        app ? session.focusedWindowTitle(*app) : std::optional<std::string>();
    print({{"event", "front"},
           {"app", describe(app)},
           {"title", title ? nlohmann::json(*title) : nlohmann::json()}});
    observeFront();
  });
  observeFront();

  std::string pending;
  velto::platform::FdWatch input(loop, STDIN_FILENO, [&] {
    char buffer[256];
    const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (got <= 0) {
      loop.exit(0);
      return;
    }
    pending.append(buffer, static_cast<size_t>(got));
    for (size_t end; (end = pending.find('\n')) != std::string::npos;) {
      const std::string command = pending.substr(0, end);
      pending.erase(0, end + 1);
      if (command == "idle") {
        print({{"event", "idle"}, {"seconds", session.secondsSinceLastInput()}});
      } else if (command == "clients") {
        nlohmann::json apps = nlohmann::json::array();
        for (const RunningApplication& app : session.clientApplications()) {
          apps.push_back(describe(app));
        }
        print({{"event", "clients"}, {"apps", apps}});
      }
    }
  });
  return loop.run();
}
