// Instants written as text in tests.
#pragma once

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "base/time.h"

namespace velto::testing {

// "2026-11-21T09:30:00Z" or "2026-11-21T09:30:00.250Z" (UTC) as an Instant.
inline Instant at(const std::string& iso) {
  int y = 0, mo = 0, d = 0, h = 0, mi = 0;
  double s = 0;
  char zulu = 0;
  if (std::sscanf(iso.c_str(), "%d-%d-%dT%d:%d:%lf%c", &y, &mo, &d, &h, &mi, &s, &zulu) != 7 ||
      zulu != 'Z') {
    throw std::invalid_argument("bad instant in test: " + iso);
  }
  using namespace std::chrono;
  const sys_days day{year(y) / month(static_cast<unsigned>(mo)) / static_cast<unsigned>(d)};
  return addSeconds(Instant(day) + hours(h) + minutes(mi), s);
}

}  // namespace velto::testing
