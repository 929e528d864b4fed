// Media holds on Linux: processes that keep the session from going idle. logind's idle
// inhibitors (ListInhibitors, by process id) and GNOME session-manager inhibitors with the idle
// flag (by application id) both count as a display-sleep hold, reported with the hold type
// "PreventUserIdleDisplaySleep".
//
// Thread: main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "recording/platform_sources.h"

struct sd_bus_message;

namespace velto::platform {

inline constexpr const char* kIdleHoldType = "PreventUserIdleDisplaySleep";

// One row of logind's ListInhibitors.
struct LogindInhibitor {
  std::string what;  // colon-separated: "idle:sleep"
  std::string who;
  std::string why;
  std::string mode;  // "block" or "delay"
  unsigned uid = 0;
  int pid = 0;
};

// The rows of a ListInhibitors reply ("a(ssssuu)"); none for another signature or a malformed
// body.
std::optional<std::vector<LogindInhibitor>> parseLogindInhibitors(sd_bus_message* reply);

// True when `inhibitor` blocks idleness ("idle" among its what, mode "block").
bool blocksIdle(const LogindInhibitor& inhibitor);

// GNOME's inhibit flag for idleness.
inline constexpr unsigned kGnomeInhibitIdle = 8;

// True when a GNOME inhibitor's application id names `application` ("firefox",
// "firefox.desktop", or the same ignoring case).
bool gnomeAppIdMatches(const std::string& appId, const RunningApplication& application);

// The hold types of `pid`: kIdleHoldType when one of `logind` blocks idleness for it or one of
// `gnomeIdleAppIds` names `application`; empty otherwise.
std::vector<std::string> holdTypes(int pid, const std::optional<RunningApplication>& application,
                                   const std::vector<LogindInhibitor>& logind,
                                   const std::vector<std::string>& gnomeIdleAppIds);

class InhibitorAssertions final : public PowerAssertionSource {
 public:
  // `applications` lists the session's applications (the X11 client list).
  explicit InhibitorAssertions(std::function<std::vector<RunningApplication>()> applications);

  std::vector<RunningApplication> runningApplications() override;
  std::optional<std::vector<std::string>> assertionTypes(int pid) override;

 private:
  std::function<std::vector<RunningApplication>()> applications_;
};

}  // namespace velto::platform
