// A report window over a scripted service set whose store holds a known Saturday morning in
// Berlin (2026-11-21, now 10:00 local): Code 08:00-09:00, Firefox on example.com 09:00-09:30 and
// on news.example.org 09:30-09:40, Code again 09:40-09:50.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gui/report/report_window.h"
#include "gui/scripted_services.h"

namespace velto::gui::testing {

using velto::testing::at;

class ReportWindowFixture : public ::testing::Test {
 protected:
  ReportWindowFixture() {
    scripted.services->settings().setUiLanguage("en");
    add("code", "Code", "2026-11-21T07:00:00Z", "2026-11-21T08:00:00Z");
    add("firefox", "Firefox", "2026-11-21T08:00:00Z", "2026-11-21T08:30:00Z", "example.com");
    add("firefox", "Firefox", "2026-11-21T08:30:00Z", "2026-11-21T08:40:00Z", "news.example.org");
    add("code", "Code", "2026-11-21T08:40:00Z", "2026-11-21T08:50:00Z");
    window = std::make_unique<ReportWindow>(store());
    window->setEditQuestion([this](const EditQuestion& question) {
      questions.push_back(question);
      return answer;
    });
  }

  ServiceSet& store() { return *scripted.services; }

  void add(const std::string& bundleId, const std::string& name, const char* start, const char* end,
           std::optional<std::string> host = std::nullopt) {
    RecordedSegment segment;
    segment.context = ActivityContext{
        bundleId,     name,
        std::nullopt, host,
        std::nullopt, host ? std::optional<std::string>("https://" + *host + "/") : std::nullopt};
    segment.startedAt = at(start);
    segment.endedAt = at(end);
    ASSERT_TRUE(scripted.services->store().insert(segment).ok());
  }

  int rowsOf(const std::string& bundleId) {
    Result<std::vector<Segment>> rows = scripted.services->store().fetchDay("2026-11-21");
    int count = 0;
    for (const Segment& row : *rows) count += row.bundleId == bundleId ? 1 : 0;
    return count;
  }

  velto::testing::ScriptedServices scripted;
  std::unique_ptr<ReportWindow> window;
  std::vector<EditQuestion> questions;
  bool answer = true;
};

}  // namespace velto::gui::testing
