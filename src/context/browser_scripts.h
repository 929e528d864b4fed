// The scripts that ask a browser for the active tab of each of its windows, and the parser of
// their output. Plain text: they serve the scripting bridge of a macOS build and are checked
// here, where they are built.
//
// Output: one line per window, front window first, each "title<TAB>url" and, for the Chromium
// family, "<U+001F>mode" after the URL, where the mode "incognito" marks a private window.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "context/browser_catalog.h"
#include "context/browser_tab.h"

namespace velto {

// Seconds in the "with timeout of" wrapper; matches the 2 s the runner waits for a script.
inline constexpr int kTabScriptTimeoutSeconds = 2;

// The script for a Chromium-family browser, inside "using terms from application "Google
// Chrome"" for browsers that share Chrome's dictionary.
std::string chromiumTabScript(const BrowserCatalog::Entry& browser);
// The script for a Safari-family browser.
std::string safariTabScript(const BrowserCatalog::Entry& browser);
// The script for `browser`'s family wrapped in the timeout; none for the Gecko family, which
// has no scripting interface.
std::optional<std::string> tabScript(const BrowserCatalog::Entry& browser);
std::string withScriptTimeout(std::string_view script, int seconds);

// Every window line of a script's output, in order. Lines without a tab character are skipped.
// Safari-family windows are never private.
std::vector<BrowserTab> parseTabScriptOutput(std::string_view output, BrowserFamily family);
// The front window's tab: the first line.
std::optional<BrowserTab> frontTabFromScriptOutput(std::string_view output, BrowserFamily family);

}  // namespace velto
