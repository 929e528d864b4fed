// The source of "now". No core code reads the system clock directly: it is handed a Clock.
#pragma once

#include "base/time.h"

namespace velto {

class Clock {
 public:
  virtual ~Clock() = default;
  virtual Instant now() const = 0;
};

// The real wall clock.
class SystemClock final : public Clock {
 public:
  Instant now() const override;
};

// A clock that only moves when told to; for tests and replays.
class FixedClock final : public Clock {
 public:
  explicit FixedClock(Instant now) : now_(now) {}
  Instant now() const override { return now_; }
  void set(Instant now) { now_ = now; }
  void advance(double seconds) { now_ = addSeconds(now_, seconds); }

 private:
  Instant now_;
};

}  // namespace velto
