#include "base/scheduler.h"

#include <utility>

namespace velto {

Timer::Timer(Timer&& other) noexcept
    : scheduler_(std::exchange(other.scheduler_, nullptr)), id_(std::exchange(other.id_, 0)) {}

Timer& Timer::operator=(Timer&& other) noexcept {
  if (this != &other) {
    cancel();
    scheduler_ = std::exchange(other.scheduler_, nullptr);
    id_ = std::exchange(other.id_, 0);
  }
  return *this;
}

Timer::~Timer() {
  cancel();
}

void Timer::cancel() {
  if (scheduler_ != nullptr) scheduler_->cancel(id_);
  scheduler_ = nullptr;
  id_ = 0;
}

bool Timer::isActive() const {
  return scheduler_ != nullptr && scheduler_->isActive(id_);
}

}  // namespace velto
