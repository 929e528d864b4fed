#include "platform/linux/inhibitor_assertions.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "platform/linux/bus_connection.h"

namespace velto::platform {

namespace {

// Asked only near the idle threshold; a slow bus must not stall the main thread for long.
constexpr std::chrono::milliseconds kCallTimeout{500};
constexpr const char* kGnomeSession = "org.gnome.SessionManager";

std::string lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

std::optional<std::vector<LogindInhibitor>> listLogindInhibitors() {
  // The thread's shared connection: the session watch keeps it open.
  bus::Connection system = bus::systemBus();
  bus::Message call =
      bus::methodCall(system.get(), "org.freedesktop.login1", "/org/freedesktop/login1",
                      "org.freedesktop.login1.Manager", "ListInhibitors");
  bus::Message reply = bus::callBlocking(system.get(), call.get(), kCallTimeout);
  if (!reply) return std::nullopt;
  return parseLogindInhibitors(reply.get());
}

// A method on a GNOME inhibitor object with no arguments.
bus::Message askInhibitor(sd_bus* session, const char* path, const char* method) {
  bus::Message call =
      bus::methodCall(session, kGnomeSession, path, "org.gnome.SessionManager.Inhibitor", method);
  return bus::callBlocking(session, call.get(), kCallTimeout);
}

std::optional<std::vector<std::string>> gnomeIdleAppIds() {
  bus::Connection session = bus::sessionBus();
  if (!session || !bus::nameHasOwner(session.get(), kGnomeSession, kCallTimeout)) {
    return std::nullopt;
  }
  bus::Message call = bus::methodCall(session.get(), kGnomeSession, "/org/gnome/SessionManager",
                                      kGnomeSession, "GetInhibitors");
  bus::Message reply = bus::callBlocking(session.get(), call.get(), kCallTimeout);
  if (!reply || bus::signatureOf(reply.get()) != "ao") return std::nullopt;
  std::vector<std::string> paths;
  if (sd_bus_message_enter_container(reply.get(), 'a', "o") < 0) return std::nullopt;
  const char* path = nullptr;
  while (sd_bus_message_read(reply.get(), "o", &path) > 0) paths.emplace_back(path);
  std::vector<std::string> ids;
  for (const std::string& inhibitor : paths) {
    bus::Message flagsReply = askInhibitor(session.get(), inhibitor.c_str(), "GetFlags");
    std::optional<std::uint32_t> flags = bus::readUint32(flagsReply.get());
    if (!flags || (*flags & kGnomeInhibitIdle) == 0) continue;
    bus::Message appReply = askInhibitor(session.get(), inhibitor.c_str(), "GetAppId");
    if (std::optional<std::string> appId = bus::readString(appReply.get())) {
      ids.push_back(std::move(*appId));
    }
  }
  return ids;
}

}  // namespace

std::optional<std::vector<LogindInhibitor>> parseLogindInhibitors(sd_bus_message* reply) {
  if (bus::signatureOf(reply) != "a(ssssuu)") return std::nullopt;
  if (sd_bus_message_enter_container(reply, 'a', "(ssssuu)") < 0) return std::nullopt;
  std::vector<LogindInhibitor> rows;
  const char *what = nullptr, *who = nullptr, *why = nullptr, *mode = nullptr;
  std::uint32_t uid = 0, pid = 0;
  int read = 0;
  while ((read = sd_bus_message_read(reply, "(ssssuu)", &what, &who, &why, &mode, &uid, &pid)) >
         0) {
    rows.push_back(LogindInhibitor{what, who, why, mode, uid, static_cast<int>(pid)});
  }
  if (read < 0) return std::nullopt;
  return rows;
}

bool blocksIdle(const LogindInhibitor& inhibitor) {
  if (inhibitor.mode != "block") return false;
  std::string_view what = inhibitor.what;
  while (!what.empty()) {
    const size_t colon = what.find(':');
    if (what.substr(0, colon) == "idle") return true;
    if (colon == std::string_view::npos) break;
    what.remove_prefix(colon + 1);
  }
  return false;
}

bool gnomeAppIdMatches(const std::string& appId, const RunningApplication& application) {
  if (!application.bundleId || appId.empty()) return false;
  std::string id = lower(appId);
  constexpr std::string_view suffix = ".desktop";
  if (id.size() > suffix.size() &&
      id.compare(id.size() - suffix.size(), suffix.size(), suffix) == 0) {
    id.resize(id.size() - suffix.size());
  }
  return id == lower(*application.bundleId);
}

std::vector<std::string> holdTypes(int pid, const std::optional<RunningApplication>& application,
                                   const std::vector<LogindInhibitor>& logind,
                                   const std::vector<std::string>& gnomeIdleAppIds) {
  const bool held =
      std::any_of(logind.begin(), logind.end(),
                  [&](const LogindInhibitor& row) { return row.pid == pid && blocksIdle(row); }) ||
      (application &&
       std::any_of(gnomeIdleAppIds.begin(), gnomeIdleAppIds.end(),
                   [&](const std::string& id) { return gnomeAppIdMatches(id, *application); }));
  if (!held) return {};
  return {kIdleHoldType};
}

InhibitorAssertions::InhibitorAssertions(
    std::function<std::vector<RunningApplication>()> applications)
    : applications_(std::move(applications)) {}

std::vector<RunningApplication> InhibitorAssertions::runningApplications() {
  return applications_ ? applications_() : std::vector<RunningApplication>{};
}

std::optional<std::vector<std::string>> InhibitorAssertions::assertionTypes(int pid) {
  std::optional<std::vector<LogindInhibitor>> logind = listLogindInhibitors();
  std::optional<std::vector<std::string>> gnome = gnomeIdleAppIds();
  if (!logind && !gnome) return std::nullopt;
  std::optional<RunningApplication> application;
  if (gnome && !gnome->empty()) {
    for (RunningApplication& app : runningApplications()) {
      if (app.pid == pid) application = std::move(app);
    }
  }
  return holdTypes(pid, application, logind.value_or(std::vector<LogindInhibitor>{}),
                   gnome.value_or(std::vector<std::string>{}));
}

}  // namespace velto::platform
