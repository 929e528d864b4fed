// What the browser extension says about the active tab of the focused browser window, as the
// native messaging host receives it and hands it to the recorder.
//
// The message is a JSON object with exactly these members:
//   "url": string, at most kMaxReportedUrlBytes ("" when the window has no tab to report),
//   "title": string, at most kMaxReportedTitleBytes,
//   "private": bool (the window is private or incognito),
//   "pid": optional integer, the browser's process id when the extension knows it (1..2^22).
// Anything else (other members, other types, longer texts, a URL that is not http, https or
// file) is refused. A private report never carries its URL or title past this point.
//
// Thread: any.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/result.h"

namespace velto {

inline constexpr std::size_t kMaxReportedUrlBytes = 2048;
inline constexpr std::size_t kMaxReportedTitleBytes = 1024;
inline constexpr int kMaxProcessId = 1 << 22;

struct TabReport {
  TabReport() = default;
  TabReport(std::string url, std::string title, bool isPrivate, int processId)
      : url(std::move(url)), title(std::move(title)), isPrivate(isPrivate), processId(processId) {}

  std::string url;
  std::string title;
  bool isPrivate = false;
  int processId = 0;  // 0: the extension did not say

  bool operator==(const TabReport&) const = default;
};

// The report in `json`, or why it is refused (a fixed text for the log; it never quotes the
// message, which may hold an address).
Result<TabReport> parseTabReport(std::string_view json);

// Whether `url` may be reported: empty, or http, https or file in any case.
bool isReportableUrl(std::string_view url);

// The report with what a private window must not reveal removed: its URL and title are emptied
// when it says it is private, or when its title does (isPrivateWindowTitle), which marks it
// private too.
TabReport withoutPrivateDetails(TabReport report);

}  // namespace velto
