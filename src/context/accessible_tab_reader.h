// Reads a browser's active tab from its accessibility tree: the address of the web area in the
// focused window, failing that the text of the address bar. The tree is abstract here; the
// platform layer wraps AT-SPI (or another accessibility interface) in AccessibleElement.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "context/browser_tab.h"

namespace velto {

// One node of an application's accessibility tree. Every call may cost a round trip to the
// application; implementations answer none or no children when it fails.
class AccessibleElement {
 public:
  enum class Role { webArea, textField, other };

  virtual ~AccessibleElement() = default;
  virtual Role role() const = 0;
  // The window's title for a window.
  virtual std::optional<std::string> title() const = 0;
  // The address of the document for a web area.
  virtual std::optional<std::string> url() const = 0;
  // The text of a text field.
  virtual std::optional<std::string> value() const = 0;
  virtual std::vector<std::unique_ptr<AccessibleElement>> children() const = 0;
};

// Bounds of the search below the focused window: it never looks deeper or at more elements, so
// a huge page cannot stall the read.
inline constexpr int kAccessibleSearchMaxDepth = 24;
inline constexpr int kAccessibleSearchMaxElements = 1500;

// The tab shown in `focusedWindow`: breadth-first from the window's children, the first web
// area with an address gives the URL; without one, the first text field with a value does,
// with "https://" put in front of a value that does not begin with "http". The search does not
// descend into web areas or text fields. The tab's title is the window's title, and the window
// is private when its title says so (isPrivateWindowTitle). None when no address was found.
std::optional<BrowserTab> readTabFromAccessibility(const AccessibleElement& focusedWindow);

}  // namespace velto
