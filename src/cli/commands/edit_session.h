// The user's services opened for one command that reads or changes settings, limits, rules,
// categories, exclusions or recorded time: the service set the recorder and the desktop
// application run, on an inert desktop and a scheduler that never fires, so that every change
// goes through the same stores, validation, cascades (a deleted category takes its rules and
// limits) and log lines. A running recorder or desktop application picks the change up as it
// follows any other process's writes: the settings folder is watched, the store is polled.
#pragma once

#include <memory>
#include <string>

#include "app/service_set.h"
#include "base/clock.h"
#include "base/manual_scheduler.h"
#include "recording/scripted_sources.h"
#include "recording/segment_checkpoint.h"

namespace velto::cli {

class EditSession {
 public:
  explicit EditSession(std::string language);

  ServiceSet& services() { return *services_; }
  // The stretch a running recorder is recording now (from its checkpoint); none when no
  // recorder runs or it records nothing. Figures count it, as the desktop's do.
  std::optional<SegmentCheckpoint> runningSegment() const;
  const std::string language;

 private:
  SystemClock clock_;
  ManualScheduler scheduler_;
  ScriptedFrontmostApp front_;
  ScriptedWindowTitles titles_;
  ScriptedIdleTime idle_;
  ScriptedPowerAssertions power_;
  ScriptedSessionEvents session_;
  ServicePaths paths_;
  std::unique_ptr<ServiceSet> services_;
};

}  // namespace velto::cli
