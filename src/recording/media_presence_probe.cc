#include "recording/media_presence_probe.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "context/unicode_text.h"

namespace velto {

namespace {

// The meeting applications' identifiers, on both platforms the catalogs serve.
constexpr std::array<std::string_view, 14> kMeetingApplications = {
    "us.zoom.xos", "com.microsoft.teams2", "com.microsoft.teams", "com.apple.FaceTime",
    "Cisco-Systems.Spark", "com.cisco.webexmeetingsapp",
    // Linux desktop-file ids and window classes of the same applications.
    "us.zoom.Zoom", "zoom", "teams-for-linux", "com.github.IsmaelMartinez.teams_for_linux", "webex",
    "com.cisco.webex", "org.jitsi.jitsi-meet", "jitsi-meet"};

}  // namespace

bool MediaPresenceProbe::isMeetingApplication(std::string_view bundleId) {
  const std::string id = text::lowerCased(bundleId);
  return std::any_of(kMeetingApplications.begin(), kMeetingApplications.end(),
                     [&](std::string_view meeting) { return text::lowerCased(meeting) == id; });
}

bool MediaPresenceProbe::isDisplaySleepHold(std::string_view assertionType) {
  return assertionType == "PreventUserIdleDisplaySleep" ||
         assertionType == "NoDisplaySleepAssertion";
}

bool MediaPresenceProbe::isPresent(const std::optional<RunningApplication>& front) {
  std::set<int> candidates;
  if (front) candidates.insert(front->pid);
  for (const RunningApplication& running : source_.runningApplications()) {
    if (running.bundleId && isMeetingApplication(*running.bundleId)) candidates.insert(running.pid);
  }
  for (int pid : candidates) {
    const std::optional<std::vector<std::string>> types = source_.assertionTypes(pid);
    if (!types) continue;
    if (std::any_of(types->begin(), types->end(), isDisplaySleepHold)) return true;
  }
  return false;
}

}  // namespace velto
