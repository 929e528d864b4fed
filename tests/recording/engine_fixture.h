// The real engine, recorder, resolver and settings over scripted desktop sources, on virtual
// time starting 2026-11-21 09:00 UTC.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "base/manual_scheduler.h"
#include "context/context_resolver.h"
#include "context/exclusion_store.h"
#include "recorder_fixture.h"
#include "recording/scripted_sources.h"
#include "recording/tracking_engine.h"
#include "test_support/log_capture.h"
#include "test_support/memory_checkpoints.h"
#include "test_support/temp_dir.h"

namespace velto::testing {

inline RunningApplication running(const std::string& bundleId, int pid) {
  return RunningApplication{bundleId, bundleId, pid};
}

class EngineTest : public ::testing::Test {
 protected:
  EngineTest() { makeEngine(); }

  void makeEngine() {
    engine.reset();
    engine = std::make_unique<TrackingEngine>(
        TrackingEnvironment{front, titles, idle, power, session, resolver, settings, sink,
                            &checkpoints, &commands, calendar, scheduler, scheduler, bus});
    engine->onGapDecided = [this](const AwayGap& gap, bool offered) {
      gaps.push_back({gap, offered});
    };
  }

  // Advances virtual time to `iso`, firing every timer due on the way.
  void advanceTo(const std::string& iso) { scheduler.advanceTo(at(iso)); }

  std::vector<RecordedSegment>& recorded() { return sink->segments; }

  TempDir dir;
  LogCapture logs;  // keeps the engine's info lines off the test output
  ManualScheduler scheduler{at("2026-11-21T09:00:00Z")};
  Calendar calendar = *Calendar::named("UTC");
  NoticeBus bus;
  Settings settings{dir / "settings.json", bus};
  ExclusionStore exclusions{settings, bus};
  ContextResolver resolver{exclusions, nullptr, nullptr, [] { return true; }};
  ScriptedFrontmostApp front;
  ScriptedWindowTitles titles;
  ScriptedIdleTime idle{scheduler};
  ScriptedPowerAssertions power;
  ScriptedSessionEvents session;
  TrackingCommand commands{dir / "shared"};
  std::shared_ptr<CollectingSink> sink = std::make_shared<CollectingSink>();
  MemoryCheckpoints checkpoints;
  std::unique_ptr<TrackingEngine> engine;
  std::vector<std::pair<AwayGap, bool>> gaps;
};

}  // namespace velto::testing
