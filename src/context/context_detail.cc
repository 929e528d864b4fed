#include "context/context_detail.h"

#include <string>
#include <unordered_map>

#include "context/app_catalog.h"
#include "context/unicode_text.h"
#include "context/window_title_parser.h"

namespace velto {

namespace {

ActivityDetail makeDetail(ActivityDetailKind kind, std::string label) {
  ActivityDetail detail;
  detail.key = text::lowerCased(label);
  detail.label = std::move(label);
  detail.kind = kind;
  return detail;
}

std::optional<std::string_view> view(const std::optional<std::string>& value) {
  if (!value) return std::nullopt;
  return std::string_view(*value);
}

std::optional<ActivityDetail> terminalDetail(const DetailSource& source) {
  TerminalTitle title;
  if (source.windowTitle) title = WindowTitleParser::terminal(*source.windowTitle, source.appName);
  std::optional<std::string> tool = std::move(title.tool);
  if (!tool && source.toolName && !source.toolName->empty()) tool = std::string(*source.toolName);
  if (title.project) {
    std::string label = std::move(*title.project);
    if (tool) label += " \u00B7 " + *tool;
    return makeDetail(ActivityDetailKind::project, std::move(label));
  }
  if (tool) return makeDetail(ActivityDetailKind::tool, std::move(*tool));
  return std::nullopt;
}

std::optional<ActivityDetailKind> kindForFamily(AppFamily family) {
  switch (family) {
    case AppFamily::browser:
      return ActivityDetailKind::site;
    case AppFamily::editor:
      return ActivityDetailKind::project;
    case AppFamily::chat:
      return ActivityDetailKind::workspace;
    case AppFamily::document:
      return ActivityDetailKind::document;
    case AppFamily::terminal:
    case AppFamily::media:
      return std::nullopt;
  }
  return std::nullopt;
}

std::optional<std::string> extract(TitleStrategy strategy, std::string_view title,
                                   std::string_view appName) {
  switch (strategy) {
    case TitleStrategy::leading:
      return WindowTitleParser::leading(title, appName);
    case TitleStrategy::trailing:
      return WindowTitleParser::trailing(title, appName);
    case TitleStrategy::chat:
      return WindowTitleParser::chat(title, appName);
    case TitleStrategy::ignore:
    case TitleStrategy::terminal:
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

namespace {

std::optional<ActivityDetail> deriveUncached(const DetailSource& source) {
  if (source.host && !source.host->empty()) {
    return makeDetail(ActivityDetailKind::site, std::string(*source.host));
  }
  const std::optional<AppFamily> family = AppCatalog::family(source.bundleId);
  if (!family) {
    if (!source.windowTitle) return std::nullopt;
    std::optional<std::string> window =
        WindowTitleParser::window(*source.windowTitle, source.appName);
    if (!window) return std::nullopt;
    return makeDetail(ActivityDetailKind::window, std::move(*window));
  }
  if (*family == AppFamily::terminal) return terminalDetail(source);
  const std::optional<ActivityDetailKind> kind = kindForFamily(*family);
  const std::optional<TitleStrategy> strategy = AppCatalog::strategy(source.bundleId);
  if (!kind || !strategy || !source.windowTitle) return std::nullopt;
  std::optional<std::string> value = extract(*strategy, *source.windowTitle, source.appName);
  if (!value) return std::nullopt;
  return makeDetail(*kind, std::move(*value));
}

}  // namespace

// Reports derive the details of the same contexts again on every refresh; parsing a title costs
// microseconds, a look-up a fraction of that. Per thread, and forgotten wholesale when large.
std::optional<ActivityDetail> deriveDetail(const DetailSource& source) {
  constexpr size_t kRemembered = 8192;
  thread_local std::unordered_map<std::string, std::optional<ActivityDetail>> known;
  std::string key;
  key.reserve(source.bundleId.size() + source.appName.size() +
              source.windowTitle.value_or("").size() + source.host.value_or("").size() +
              source.toolName.value_or("").size() + 8);
  auto put = [&](std::optional<std::string_view> part) {
    key.push_back(part ? 'V' : 'N');
    if (part) key.append(*part);
    key.push_back('\x1f');
  };
  put(source.bundleId);
  put(source.appName);
  put(source.windowTitle);
  put(source.host);
  put(source.toolName);
  if (auto found = known.find(key); found != known.end()) return found->second;
  if (known.size() >= kRemembered) known.clear();
  std::optional<ActivityDetail> detail = deriveUncached(source);
  known.emplace(std::move(key), detail);
  return detail;
}

std::optional<ActivityDetail> deriveDetail(const ActivityContext& context) {
  return deriveDetail(DetailSource{context.bundleId, context.appName, view(context.windowTitle),
                                   view(context.host), view(context.toolName)});
}

std::optional<ActivityDetail> deriveDetail(const RecordedSegment& segment) {
  return deriveDetail(segment.context);
}

}  // namespace velto
