#include "recording/media_presence_probe.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "context/app_identity.h"

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

bool MediaPresenceProbe::isMeetingApplication(std::string_view bundleId,
                                              std::span<const std::string> aliases) {
  static const auto* const index = [] {
    auto* made = new AliasIndex<bool>();
    for (std::string_view id : kMeetingApplications) made->add(id, true);
    return made;
  }();
  return index->find(bundleId, aliases).has_value();
}

bool MediaPresenceProbe::isDisplaySleepHold(std::string_view assertionType) {
  return assertionType == "PreventUserIdleDisplaySleep" ||
         assertionType == "NoDisplaySleepAssertion";
}

bool MediaPresenceProbe::isPresent(const std::optional<RunningApplication>& front) {
  std::set<int> candidates;
  if (front) candidates.insert(front->pid);
  for (const RunningApplication& running : source_.runningApplications()) {
    if (running.bundleId && isMeetingApplication(*running.bundleId, running.aliases))
      candidates.insert(running.pid);
  }
  for (int pid : candidates) {
    const std::optional<std::vector<std::string>> types = source_.assertionTypes(pid);
    if (!types) continue;
    if (std::any_of(types->begin(), types->end(), isDisplaySleepHold)) return true;
  }
  return false;
}

}  // namespace velto
