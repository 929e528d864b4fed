#include "base/clock.h"

namespace velto {

Instant SystemClock::now() const {
  return std::chrono::time_point_cast<Microseconds>(std::chrono::system_clock::now());
}

}  // namespace velto
