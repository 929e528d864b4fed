// The active tab of a browser's front window, and the reader that fetches it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <variant>

#include "context/browser_catalog.h"

namespace velto {

struct BrowserTab {
  std::string title;
  std::string url;
  bool isPrivate = false;

  bool operator==(const BrowserTab&) const = default;
};

// Why a tab could not be read. A busy reader and a timed-out read are script failures with the
// messages "busy" and "timeout".
struct BrowserProbeError {
  enum class Kind { scriptFailure, automationDenied, notRunning };

  Kind kind = Kind::scriptFailure;
  std::string message;  // for scriptFailure

  static BrowserProbeError scriptFailure(std::string message) {
    return {Kind::scriptFailure, std::move(message)};
  }
  static BrowserProbeError busy() { return scriptFailure("busy"); }
  static BrowserProbeError timeout() { return scriptFailure("timeout"); }
  static BrowserProbeError automationDenied() { return {Kind::automationDenied, {}}; }
  static BrowserProbeError notRunning() { return {Kind::notRunning, {}}; }

  bool operator==(const BrowserProbeError&) const = default;
};

using BrowserTabAnswer = std::variant<BrowserTab, BrowserProbeError>;

// Reads the active tab of a running browser. Implementations may work on another thread but
// call `done` exactly once, on the main thread (through Scheduler::post), never from inside
// readActiveTab itself.
class BrowserTabReader {
 public:
  virtual ~BrowserTabReader() = default;
  virtual void readActiveTab(const BrowserCatalog::Entry& browser, int processId,
                             std::function<void(BrowserTabAnswer)> done) = 0;

  // Whether tabs are read at all. Readers that need the user's consent (the accessibility
  // interface) start off; while off, browsers are recorded by their window titles.
  virtual bool isEnabled() const { return true; }
  // The user's choice, applied at start-up and whenever it changes.
  virtual void setEnabled(bool /*enabled*/) {}
};

// True when a window title says the window is private: it contains, lower-cased, one of the
// phrases Gecko browsers use in English, Turkish, German, Spanish and French ("private
// browsing", "gizli gezinti", "privater modus", "navegación privada", "navigation privée"), or
// the markers Chromium browsers put in the titles of private windows on Linux ("(incognito)",
// "(inprivate)").
bool isPrivateWindowTitle(std::string_view title);

}  // namespace velto
