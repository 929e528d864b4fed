// A synthetic but realistic history for benchmarks: about 3,000 segments a day over the days
// before `end`, switching between a fixed set of applications, sites and titles during working
// hours. Deterministic for a given seed.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "base/calendar.h"
#include "store/segment.h"

namespace velto::bench {

inline std::vector<Segment> syntheticDays(const Calendar& calendar, Instant end, int days,
                                          int segmentsPerDay = 3000, unsigned seed = 42) {
  static const std::vector<std::pair<std::string, std::string>> apps = {
      {"code", "Code"},
      {"firefox", "Firefox"},
      {"org.gnome.Terminal", "Terminal"},
      {"slack", "Slack"},
      {"thunderbird", "Mail"},
      {"spotify", "Spotify"},
      {"google-chrome", "Chrome"},
      {"obsidian", "Obsidian"},
      {"libreoffice-writer", "Writer"},
      {"org.kde.konsole", "Konsole"}};
  static const std::vector<std::string> hosts = {"github.com", "docs.example.org",
                                                 "news.example.com", "mail.example.com",
                                                 "video.example.net"};
  std::mt19937 random(seed);
  std::vector<Segment> rows;
  rows.reserve(static_cast<size_t>(days) * segmentsPerDay);
  const Instant firstDay = calendar.startOfDay(calendar.addDays(end, -days));
  for (int day = 0; day < days; ++day) {
    const Instant dayStart = calendar.addDays(firstDay, day);
    // Activity from 08:00 for about 14 hours, in back-to-back segments of varying length.
    Instant cursor = addSeconds(dayStart, 8 * 3600);
    const double average = 14.0 * 3600 / segmentsPerDay;
    std::exponential_distribution<double> length(1.0 / average);
    for (int i = 0; i < segmentsPerDay; ++i) {
      const double seconds = 3.0 + length(random);
      const auto& [bundleId, appName] = apps[random() % apps.size()];
      Segment row;
      row.id = Uuid::random();
      row.startedAt = cursor;
      row.endedAt = addSeconds(cursor, seconds);
      row.seconds = seconds;
      row.bundleId = bundleId;
      row.appName = appName;
      row.windowTitle = "Document " + std::to_string(random() % 200);
      if (bundleId == "firefox" || bundleId == "google-chrome") {
        row.host = hosts[random() % hosts.size()];
        row.url = "https://" + *row.host + "/page/" + std::to_string(random() % 1000);
      }
      row.endReasonRaw = "focusChange";
      row.dayKey = calendar.dayKey(cursor);
      rows.push_back(std::move(row));
      cursor = row.endedAt;
    }
  }
  return rows;
}

}  // namespace velto::bench
