#include "context/browser_scripts.h"

namespace velto {

namespace {

constexpr std::string_view kChromiumBody =
    "\n    set output to \"\"\n    repeat with w in windows\n        try\n            set t to "
    "active tab of w\n            set m to \"\"\n            try\n                set m to (mode "
    "of w) as text\n            end try\n            if m is \"\" then\n                try\n    "
    "                if (incognito of w) then set m to \"incognito\"\n                end try\n "
    "           end if\n            set output to output & (title of t) & \"\t\" & (URL of t) & "
    "(character id 31) & m & linefeed\n        end try\n    end repeat\n    return output\nend "
    "tell";

constexpr std::string_view kSafariBody =
    "\n    set output to \"\"\n    repeat with w in windows\n        try\n            set t to "
    "current tab of w\n            set output to output & (name of t) & \"\t\" & (URL of t) & "
    "linefeed\n        end try\n    end repeat\n    return output\nend tell";

std::string tellApplication(const BrowserCatalog::Entry& browser, std::string_view body) {
  std::string script = "tell application \"";
  script += browser.scriptName;
  script += "\"";
  script += body;
  return script;
}

}  // namespace

std::string chromiumTabScript(const BrowserCatalog::Entry& browser) {
  std::string script = tellApplication(browser, kChromiumBody);
  if (BrowserCatalog::usesChromeTerms(browser)) {
    script = "using terms from application \"Google Chrome\"\n" + script + "\nend using terms from";
  }
  return script;
}

std::string safariTabScript(const BrowserCatalog::Entry& browser) {
  return tellApplication(browser, kSafariBody);
}

std::optional<std::string> tabScript(const BrowserCatalog::Entry& browser) {
  switch (browser.family) {
    case BrowserFamily::chromium:
      return withScriptTimeout(chromiumTabScript(browser), kTabScriptTimeoutSeconds);
    case BrowserFamily::safari:
      return withScriptTimeout(safariTabScript(browser), kTabScriptTimeoutSeconds);
    case BrowserFamily::gecko:
      return std::nullopt;
  }
  return std::nullopt;
}

std::string withScriptTimeout(std::string_view script, int seconds) {
  std::string wrapped = "with timeout of " + std::to_string(seconds) + " seconds\n";
  wrapped += script;
  wrapped += "\nend timeout";
  return wrapped;
}

std::vector<BrowserTab> parseTabScriptOutput(std::string_view output, BrowserFamily family) {
  std::vector<BrowserTab> tabs;
  while (!output.empty()) {
    const size_t end = output.find('\n');
    const std::string_view line = output.substr(0, end);
    output = end == std::string_view::npos ? std::string_view() : output.substr(end + 1);
    const size_t tab = line.find('\t');
    if (tab == std::string_view::npos) continue;
    BrowserTab parsed;
    parsed.title = std::string(line.substr(0, tab));
    std::string_view rest = line.substr(tab + 1);
    if (family == BrowserFamily::chromium) {
      const size_t unit = rest.find('\x1f');
      if (unit != std::string_view::npos) {
        parsed.isPrivate = rest.substr(unit + 1) == "incognito";
        rest = rest.substr(0, unit);
      }
    }
    parsed.url = std::string(rest);
    tabs.push_back(std::move(parsed));
  }
  return tabs;
}

std::optional<BrowserTab> frontTabFromScriptOutput(std::string_view output, BrowserFamily family) {
  std::vector<BrowserTab> tabs = parseTabScriptOutput(output, family);
  if (tabs.empty()) return std::nullopt;
  return std::move(tabs.front());
}

}  // namespace velto
