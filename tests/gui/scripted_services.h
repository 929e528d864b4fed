// A service set on a scripted desktop and a manual clock, in a private folder, for GUI tests.
#pragma once

#include <memory>

#include "app/service_set.h"
#include "base/manual_scheduler.h"
#include "recording/scripted_sources.h"
#include "test_support/log_capture.h"
#include "test_support/temp_dir.h"
#include "test_support/time_helpers.h"

namespace velto::testing {

struct ScriptedServices {
  explicit ScriptedServices(Instant now = at("2026-11-21T09:00:00Z"),
                            const char* zone = "Europe/Berlin")
      : scheduler(now) {
    services = std::make_unique<ServiceSet>(
        Desktop{front, titles, idle, power, session, nullptr, nullptr, scheduler, scheduler},
        ServicePaths{dir / "settings.json", dir / "data", dir / "shared"}, *Calendar::named(zone));
  }

  TempDir dir;
  LogCapture logs;
  ManualScheduler scheduler;
  ScriptedFrontmostApp front;
  ScriptedWindowTitles titles;
  ScriptedIdleTime idle{scheduler};
  ScriptedPowerAssertions power;
  ScriptedSessionEvents session;
  std::unique_ptr<ServiceSet> services;
};

}  // namespace velto::testing
