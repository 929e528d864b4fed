// Turns what is in front (the application, its window title and, for a browser, the active
// tab) into the ActivityContext that is recorded, or says that nothing may be recorded.
//
// Thread: main thread only. The browser read is the only asynchronous step.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "context/browser_tab.h"
#include "context/process_table.h"
#include "recording/activity_context.h"
#include "recording/activity_detail.h"

namespace velto {

class ExclusionStore;

// The application in front, as the platform reports it.
struct FrontApp {
  FrontApp() = default;
  FrontApp(std::string bundleId, std::string appName, std::optional<int> processId,
           std::vector<std::string> aliases = {})
      : bundleId(std::move(bundleId)),
        appName(std::move(appName)),
        processId(processId),
        aliases(std::move(aliases)) {}

  std::string bundleId;
  std::string appName;
  std::optional<int> processId;
  std::vector<std::string> aliases;  // the window's other names, for catalog lookups

  bool operator==(const FrontApp&) const = default;
};

class ContextResolver {
 public:
  struct Resolution {
    enum class Kind { context, excluded };

    Kind kind = Kind::context;
    ActivityContext context;               // for Kind::context
    std::optional<ActivityDetail> detail;  // for Kind::context: what reports will group it by

    static Resolution excluded() { return {Kind::excluded, {}, std::nullopt}; }
    bool isExcluded() const { return kind == Kind::excluded; }
    bool operator==(const Resolution&) const = default;
  };

  // The full context's answer; none when the front app is never tracked.
  using Completion = std::function<void(std::optional<Resolution>)>;

  // `exclusions`, `browsers` and `processes` must outlive the resolver; `browsers` and
  // `processes` may be null where the platform has none (no tab is read, no tool is probed).
  // `detailCaptureEnabled` is asked on each resolve ("velto.detailCaptureEnabled").
  ContextResolver(const ExclusionStore& exclusions, BrowserTabReader* browsers,
                  const ProcessTable* processes, std::function<bool()> detailCaptureEnabled);
  ContextResolver(const ContextResolver&) = delete;
  ContextResolver& operator=(const ContextResolver&) = delete;

  // The context known from the application alone (bundle identifier and name); none when the
  // application is never tracked or is excluded.
  std::optional<ActivityContext> quickContext(const FrontApp& app) const;
  // The application is listed in the exclusions.
  bool isExcluded(const FrontApp& app) const;

  // The full context: a browser's tab (its host and title; a private window or an excluded
  // host makes the answer `excluded`), a terminal's tool, and the detail. `done` is called
  // exactly once on the main thread: before resolve returns when nothing needs waiting for,
  // else when the browser answers. It is not called once the resolver is destroyed.
  //
  // With detail capture off, only the application is recorded, but a browser's tab is still
  // read when exclusions need it (hosts listed, or private windows skipped).
  void resolve(const FrontApp& app, std::optional<std::string> windowTitle, Completion done);

 private:
  void finishBrowser(ActivityContext context, const BrowserTabAnswer* answer, bool capture,
                     const Completion& done) const;
  void finish(ActivityContext context, bool capture, const Completion& done) const;

  const ExclusionStore& exclusions_;
  BrowserTabReader* browsers_;
  const ProcessTable* processes_;
  std::function<bool()> detailCaptureEnabled_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace velto
