// Local notifications: the one way limits, the daily summary and the weekly digest reach the
// user. The freedesktop implementation lives in the platform layer; InMemoryNotificationCenter
// serves tests and replays.
//
// Thread: main thread; completions are called on the main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "base/time.h"

namespace velto {

enum class NotificationAuthorization { notDetermined, denied, authorized, provisional };

inline bool mayPost(NotificationAuthorization status) {
  return status == NotificationAuthorization::authorized ||
         status == NotificationAuthorization::provisional;
}

struct NotificationRequest {
  std::string identifier;  // a newer request with the same identifier replaces the older
  std::string title;
  std::string body;
  std::string categoryIdentifier;  // decides what a click opens
  bool sound = true;
  // A moment inside the period the notification tells about (the digest: its week's start); a
  // click opens that period. None: the current one.
  std::optional<Instant> about = std::nullopt;

  bool operator==(const NotificationRequest&) const = default;
};

class AppNotificationCentering {
 public:
  virtual ~AppNotificationCentering() = default;
  virtual void authorizationStatus(std::function<void(NotificationAuthorization)> done) = 0;
  virtual void add(const NotificationRequest& request, std::function<void(Status)> done) = 0;
};

// Posts a notification that is sent at most once per period. The caller has already written
// the period's mark; when notifications are not allowed, `unmark` removes it again so the
// notification still comes once they are. `compose` runs only when posting is allowed; none
// means there is nothing worth saying (the mark stays). `posted` receives the outcome.
struct OncePerPeriodPost {
  std::function<void()> unmark;
  std::function<std::optional<NotificationRequest>()> compose;
  std::function<void(Status)> posted;
};
void postOncePerPeriod(AppNotificationCentering& center, OncePerPeriodPost post);

// Records what was posted; answers with a settable status, synchronously.
class InMemoryNotificationCenter final : public AppNotificationCentering {
 public:
  void authorizationStatus(std::function<void(NotificationAuthorization)> done) override {
    done(status);
  }
  void add(const NotificationRequest& request, std::function<void(Status)> done) override {
    if (!failWith.empty()) return done(Error{failWith});
    posted.push_back(request);
    done(Status());
  }

  NotificationAuthorization status = NotificationAuthorization::authorized;
  std::string failWith;  // non-empty: every add fails with this message
  std::vector<NotificationRequest> posted;
};

}  // namespace velto
