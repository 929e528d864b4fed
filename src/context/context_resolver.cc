#include "context/context_resolver.h"

#include "context/app_catalog.h"
#include "context/browser_catalog.h"
#include "context/context_detail.h"
#include "context/exclusion_store.h"
#include "context/foreground_tool_probe.h"
#include "context/url_host.h"

namespace velto {

ContextResolver::ContextResolver(const ExclusionStore& exclusions, BrowserTabReader* browsers,
                                 const ProcessTable* processes,
                                 std::function<bool()> detailCaptureEnabled)
    : exclusions_(exclusions),
      browsers_(browsers),
      processes_(processes),
      detailCaptureEnabled_(std::move(detailCaptureEnabled)) {}

std::optional<ActivityContext> ContextResolver::quickContext(const FrontApp& app) const {
  if (AppCatalog::isNeverTracked(app.bundleId, app.aliases) || isExcluded(app)) return std::nullopt;
  ActivityContext context;
  context.bundleId = app.bundleId;
  context.appName = app.appName;
  return context;
}

bool ContextResolver::isExcluded(const FrontApp& app) const {
  return exclusions_.isExcluded(app.bundleId);
}

void ContextResolver::resolve(const FrontApp& app, std::optional<std::string> windowTitle,
                              Completion done) {
  if (AppCatalog::isNeverTracked(app.bundleId, app.aliases)) return done(std::nullopt);
  if (isExcluded(app)) return done(Resolution::excluded());

  const bool capture = !detailCaptureEnabled_ || detailCaptureEnabled_();
  ActivityContext context;
  context.bundleId = app.bundleId;
  context.appName = app.appName;
  context.windowTitle = std::move(windowTitle);

  if (const BrowserCatalog::Entry* browser = BrowserCatalog::entry(app.bundleId, app.aliases)) {
    const ExclusionList& list = exclusions_.list();
    const bool needed = capture || !list.hosts.empty() || list.skipPrivateWindows;
    if (!needed || browsers_ == nullptr || !browsers_->isEnabled() || !app.processId) {
      return finishBrowser(std::move(context), nullptr, capture, done);
    }
    std::weak_ptr<bool> alive = alive_;
    browsers_->readActiveTab(*browser, *app.processId,
                             [this, alive, context = std::move(context), capture,
                              done = std::move(done)](BrowserTabAnswer answer) mutable {
                               if (alive.expired()) return;
                               finishBrowser(std::move(context), &answer, capture, done);
                             });
    return;
  }

  if (capture && processes_ != nullptr && app.processId &&
      AppCatalog::isTerminal(app.bundleId, app.aliases)) {
    context.toolName = ForegroundToolProbe(*processes_).tool(*app.processId);
  }
  finish(std::move(context), capture, done);
}

void ContextResolver::finishBrowser(ActivityContext context, const BrowserTabAnswer* answer,
                                    bool capture, const Completion& done) const {
  const BrowserTab* tab = answer ? std::get_if<BrowserTab>(answer) : nullptr;
  if (exclusions_.skipPrivateWindows()) {
    // The observed window title catches private windows when the tab can't be read too.
    const bool titleSaysPrivate = context.windowTitle && isPrivateWindowTitle(*context.windowTitle);
    if ((tab && tab->isPrivate) || titleSaysPrivate) return done(Resolution::excluded());
  }
  if (tab) {
    std::optional<std::string> host = hostFromUrl(tab->url);
    if (exclusions_.isExcludedHost(host)) return done(Resolution::excluded());
    context.host = std::move(host);
    context.windowTitle = tab->title;
  }
  finish(std::move(context), capture, done);
}

void ContextResolver::finish(ActivityContext context, bool capture, const Completion& done) const {
  if (!capture) {
    context.windowTitle.reset();
    context.host.reset();
    context.toolName.reset();
    context.url.reset();
    return done(Resolution{Resolution::Kind::context, std::move(context), std::nullopt});
  }
  std::optional<ActivityDetail> detail = deriveDetail(context);
  done(Resolution{Resolution::Kind::context, std::move(context), std::move(detail)});
}

}  // namespace velto
