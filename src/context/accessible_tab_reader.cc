#include "context/accessible_tab_reader.h"

#include <deque>
#include <utility>

namespace velto {

namespace {

struct Pending {
  std::unique_ptr<AccessibleElement> element;
  int depth = 0;
};

}  // namespace

std::optional<BrowserTab> readTabFromAccessibility(const AccessibleElement& focusedWindow) {
  std::deque<Pending> queue;
  for (auto& child : focusedWindow.children()) queue.push_back({std::move(child), 1});

  std::optional<std::string> url;
  std::optional<std::string> addressBar;
  int visited = 0;
  while (!url && !queue.empty() && visited < kAccessibleSearchMaxElements) {
    Pending next = std::move(queue.front());
    queue.pop_front();
    ++visited;
    const AccessibleElement& element = *next.element;
    switch (element.role()) {
      case AccessibleElement::Role::webArea:
        if (auto found = element.url(); found && !found->empty()) url = std::move(found);
        continue;
      case AccessibleElement::Role::textField:
        if (!addressBar) {
          if (auto found = element.value(); found && !found->empty()) {
            addressBar = std::move(found);
          }
        }
        continue;
      case AccessibleElement::Role::other:
        break;
    }
    if (next.depth >= kAccessibleSearchMaxDepth) continue;
    for (auto& child : element.children()) queue.push_back({std::move(child), next.depth + 1});
  }
  if (!url && addressBar) {
    url = addressBar->starts_with("http") ? *addressBar : "https://" + *addressBar;
  }
  if (!url) return std::nullopt;

  BrowserTab tab;
  tab.title = focusedWindow.title().value_or("");
  tab.url = std::move(*url);
  tab.isPrivate = isPrivateWindowTitle(tab.title);
  return tab;
}

}  // namespace velto
