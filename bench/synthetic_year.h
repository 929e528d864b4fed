// A synthetic but realistic history for benchmarks: about 3,000 segments a day over the days
// before `end`, switching between a fixed set of applications, sites and titles during working
// hours. Deterministic for a given seed.
#pragma once

#include <cmath>
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

namespace velto::bench {

// A heavier history for report benchmarks: applications, hosts and titles drawn with Zipf-like
// frequencies (a few very common, a long tail), `apps` applications, `hosts` hosts seen in the
// browsers and `titles` window titles, about `segmentsPerDay` back-to-back segments a day during
// 14 waking hours, now and then a break of several minutes. Deterministic for a given seed.
inline std::vector<Segment> zipfDays(const Calendar& calendar, Instant end, int days,
                                     int segmentsPerDay = 2740, unsigned seed = 7, int apps = 60,
                                     int hosts = 2000, int titles = 5000) {
  auto zipf = [](int n, double exponent) {
    std::vector<double> weights(static_cast<size_t>(n));
    for (int k = 0; k < n; ++k) weights[static_cast<size_t>(k)] = 1.0 / std::pow(k + 1, exponent);
    return std::discrete_distribution<int>(weights.begin(), weights.end());
  };
  auto pickApp = zipf(apps, 1.1);
  auto pickHost = zipf(hosts, 1.0);
  auto pickTitle = zipf(titles, 1.0);
  std::mt19937 random(seed);
  std::vector<Segment> rows;
  rows.reserve(static_cast<size_t>(days) * static_cast<size_t>(segmentsPerDay));
  const Instant firstDay = calendar.startOfDay(calendar.addDays(end, -days));
  const double average = 14.0 * 3600 / segmentsPerDay;
  std::exponential_distribution<double> length(1.0 / average);
  for (int day = 0; day < days; ++day) {
    Instant cursor = addSeconds(calendar.addDays(firstDay, day), 7.5 * 3600);
    for (int i = 0; i < segmentsPerDay; ++i) {
      const int app = pickApp(random);
      const double seconds = 3.0 + length(random) * 0.8;
      Segment row;
      row.id = Uuid::random();
      row.startedAt = cursor;
      row.endedAt = addSeconds(cursor, seconds);
      row.seconds = seconds;
      row.appName = "App " + std::to_string(app);
      // The first three applications are browsers, the fourth a terminal.
      row.bundleId = app < 3    ? "browser" + std::to_string(app)
                     : app == 3 ? "org.gnome.Terminal"
                                : "app" + std::to_string(app);
      if (app < 3) {
        const std::string host = "site" + std::to_string(pickHost(random)) + ".example.com";
        row.host = host;
        row.url = "https://" + host + "/p/" + std::to_string(random() % 100);
        row.windowTitle = "Page " + std::to_string(pickTitle(random)) + " - " + host;
      } else {
        row.windowTitle = "Document " + std::to_string(pickTitle(random)) + " - " + row.appName;
      }
      if (app == 3 && random() % 2 == 0) row.toolName = "npm";
      row.endReasonRaw = "focusChange";
      row.dayKey = calendar.dayKey(cursor);
      cursor = row.endedAt;
      if (random() % 200 == 0) cursor = addSeconds(cursor, 60 + random() % 900);
      // A late evening runs past midnight; the recorder splits a segment there.
      const Instant midnight = calendar.nextMidnight(row.startedAt);
      if (row.endedAt > midnight) {
        Segment after = row;
        after.id = Uuid::random();
        after.startedAt = midnight;
        after.seconds = secondsBetween(midnight, row.endedAt);
        after.dayKey = calendar.dayKey(midnight);
        row.endedAt = midnight;
        row.seconds = secondsBetween(row.startedAt, midnight);
        row.endReasonRaw = "dayBoundary";
        // Like the recorder, keep no piece shorter than 3 seconds.
        if (row.seconds >= 3.0) rows.push_back(std::move(row));
        if (after.seconds >= 3.0) rows.push_back(std::move(after));
        continue;
      }
      rows.push_back(std::move(row));
    }
  }
  return rows;
}

}  // namespace velto::bench
