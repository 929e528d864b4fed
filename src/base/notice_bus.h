// Named notices inside the process, such as "studio.kestrova.Velto.segmentsDidChange" or a
// settings key whose value changed. Posting calls every current subscriber synchronously, in
// subscription order; subscribing or unsubscribing from inside a handler is safe (a handler
// added during a post is not called by that post).
//
// Thread: main thread only.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class NoticeBus;

// Keeps a handler subscribed; unsubscribes when destroyed. May outlive the bus.
class Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::shared_ptr<bool> alive) : alive_(std::move(alive)) {}
  Subscription(Subscription&&) noexcept = default;
  Subscription& operator=(Subscription&& other) noexcept;
  ~Subscription() { reset(); }
  void reset();

 private:
  std::shared_ptr<bool> alive_;
};

class NoticeBus {
 public:
  using Handler = std::function<void()>;

  [[nodiscard]] Subscription subscribe(std::string_view name, Handler handler);
  void post(std::string_view name);

 private:
  struct Entry {
    std::shared_ptr<bool> alive;
    std::shared_ptr<Handler> handler;
  };
  std::map<std::string, std::vector<Entry>, std::less<>> handlers_;
};

}  // namespace velto
