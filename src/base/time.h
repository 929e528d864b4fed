// Instants and durations used throughout the core.
//
// An Instant is an absolute point in time (UTC-based system time, microsecond resolution).
// Durations are plain double seconds, as the stored and displayed figures are.
#pragma once

#include <chrono>
#include <cmath>

namespace velto {

using Microseconds = std::chrono::microseconds;
using Instant = std::chrono::sys_time<Microseconds>;

// Seconds elapsed from `from` to `to` (negative when `to` is earlier).
inline double secondsBetween(Instant from, Instant to) {
  return std::chrono::duration<double>(to - from).count();
}

// `at` moved by `seconds`, rounded to the nearest microsecond.
inline Instant addSeconds(Instant at, double seconds) {
  return at + Microseconds(static_cast<Microseconds::rep>(std::llround(seconds * 1e6)));
}

// The reference instant 2001-01-01 00:00:00 UTC used by the checkpoint file's dates.
inline constexpr Instant kReferenceDate2001 =
    Instant(std::chrono::sys_days(std::chrono::year(2001) / 1 / 1));

inline double secondsSince2001(Instant at) {
  return secondsBetween(kReferenceDate2001, at);
}
inline Instant instantFromSecondsSince2001(double seconds) {
  return addSeconds(kReferenceDate2001, seconds);
}

inline Instant instantFromUnixSeconds(double seconds) {
  return addSeconds(Instant{}, seconds);
}
inline double unixSeconds(Instant at) {
  return secondsBetween(Instant{}, at);
}

}  // namespace velto
