// What the away prompt offers for one away stretch and what each answer writes: "Yes, <app>"
// gives the stretch to what was in front when it began, another recently used app or an
// off-computer kind or a typed label gives it to that, each as "manual" rows through the store's
// name-time edit (one row per calendar day covered). "No" and "Not now" write nothing. Every
// answer clears the engine's pending gap if it still holds this stretch.
// Thread: main thread. The services outlive the model.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "recording/off_computer.h"
#include "recording/suspension.h"

namespace velto {
class ServiceSet;
}

namespace velto::gui {

struct RecentApp {
  std::string bundleId;
  std::string appName;
  bool operator==(const RecentApp&) const = default;
};

class AwayPromptModel {
 public:
  static constexpr std::size_t kRecentAppCount = 6;

  AwayPromptModel(ServiceSet& services, AwayGap gap);

  const AwayGap& gap() const { return gap_; }
  std::string title() const;     // "Quiet for 25m"
  std::string question() const;  // "Were you at your computer?"
  // "Yes, Code"; none when nothing was in front when the stretch began.
  std::optional<std::string> yesText() const;
  // Apps of the last 7 days before the stretch, most recently used first, without time away
  // from the computer, named labels or the gap's own app.
  std::vector<RecentApp> recentApps() const;

  Status answerYes();
  Status answerApp(const RecentApp& app);
  Status answerOffComputer(OffMacKind kind);
  // A label that is empty after trimming writes nothing and keeps the prompt's gap.
  Status answerLabel(std::string_view label);
  void answerNo();
  void dismiss();

  bool answered() const { return answered_; }

 private:
  Status give(const std::string& bundleId, const std::string& appName);
  void finish();

  ServiceSet& services_;
  AwayGap gap_;
  bool answered_ = false;
};

}  // namespace velto::gui
