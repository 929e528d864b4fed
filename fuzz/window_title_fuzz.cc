// Feeds arbitrary text to the title parser, the host extraction and the other readers of
// strings that come from windows, browsers and the process table. Input: the application's
// display name, a newline, then the title (also used as the URL, the path and the script
// output). Nothing may crash, and every answer must keep its promises: well-formed UTF-8,
// cleaned values no longer than the limit, hosts lower-cased and without a path.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "context/browser_scripts.h"
#include "context/browser_tab.h"
#include "context/context_detail.h"
#include "context/exclusion_list.h"
#include "context/foreground_tool_probe.h"
#include "context/proc_process_table.h"
#include "context/unicode_text.h"
#include "context/url_host.h"
#include "context/window_title_parser.h"

namespace {

using velto::WindowTitleParser;

void require(bool condition) {
  if (!condition) std::abort();
}

bool wellFormed(const std::string& text) {
  return velto::text::toUtf8(velto::text::toUnicode(text)) == text;
}

void checkValue(const std::optional<std::string>& value) {
  if (!value) return;
  require(!value->empty() && wellFormed(*value));
  require(velto::text::characterCount(velto::text::toUnicode(*value)) <=
          WindowTitleParser::kMaxCharacters + 1);
}

void checkHost(const std::optional<std::string>& host) {
  if (!host) return;
  require(!host->empty() && wellFormed(*host));
  require(host->find_first_of("/?# \t\r\n") == std::string::npos);
  require(velto::text::lowerCased(*host) == *host);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t newline = input.find('\n');
  const std::string_view appName =
      newline == std::string_view::npos ? "" : input.substr(0, newline);
  const std::string_view title =
      newline == std::string_view::npos ? input : input.substr(newline + 1);

  checkValue(WindowTitleParser::leading(title, appName));
  checkValue(WindowTitleParser::trailing(title, appName));
  checkValue(WindowTitleParser::chat(title, appName));
  checkValue(WindowTitleParser::window(title, appName));
  const velto::TerminalTitle terminal = WindowTitleParser::terminal(title, appName);
  checkValue(terminal.project);
  checkValue(terminal.tool);
  for (const std::string& part : WindowTitleParser::parts(title, appName)) {
    require(wellFormed(part) && !WindowTitleParser::isGeneric(part));
  }

  checkHost(velto::hostFromUrl(title));
  const std::optional<std::string> typed = velto::normalizeTypedHost(title);
  checkHost(typed);
  if (typed) require(typed->find('.') != std::string::npos && typed->front() != '.');

  const velto::DetailSource source{"org.gnome.Terminal", appName, title, std::nullopt, appName};
  if (auto detail = velto::deriveDetail(source)) {
    require(velto::text::lowerCased(detail->label) == detail->key);
  }

  (void)velto::isPrivateWindowTitle(title);
  (void)velto::parseTabScriptOutput(input, velto::BrowserFamily::chromium);
  (void)velto::parseTabScriptOutput(input, velto::BrowserFamily::safari);
  (void)velto::parseProcStat(input);
  if (auto name = velto::programNameFromPath(title)) require(!name->empty());
  return 0;
}
