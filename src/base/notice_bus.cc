#include "base/notice_bus.h"

#include <algorithm>

namespace velto {

Subscription& Subscription::operator=(Subscription&& other) noexcept {
  if (this != &other) {
    reset();
    alive_ = std::move(other.alive_);
  }
  return *this;
}

void Subscription::reset() {
  if (alive_) *alive_ = false;
  alive_.reset();
}

Subscription NoticeBus::subscribe(std::string_view name, Handler handler) {
  auto alive = std::make_shared<bool>(true);
  auto& list = handlers_[std::string(name)];
  std::erase_if(list, [](const Entry& entry) { return !*entry.alive; });
  list.push_back(Entry{alive, std::make_shared<Handler>(std::move(handler))});
  return Subscription(alive);
}

void NoticeBus::post(std::string_view name) {
  auto found = handlers_.find(name);
  if (found == handlers_.end()) return;
  // A snapshot, so handlers may subscribe and unsubscribe while this runs.
  const std::vector<Entry> snapshot = found->second;
  for (const Entry& entry : snapshot) {
    if (*entry.alive) (*entry.handler)();
  }
}

}  // namespace velto
