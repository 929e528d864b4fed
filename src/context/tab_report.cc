#include "context/tab_report.h"

#include <cctype>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "context/browser_tab.h"

namespace velto {

bool isReportableUrl(std::string_view url) {
  if (url.empty()) return true;
  for (std::string_view scheme : {"http://", "https://", "file://"}) {
    if (url.size() >= scheme.size()) {
      bool same = true;
      for (std::size_t i = 0; i < scheme.size() && same; ++i) {
        same = std::tolower(static_cast<unsigned char>(url[i])) == scheme[i];
      }
      if (same) return true;
    }
  }
  return false;
}

Result<TabReport> parseTabReport(std::string_view json) {
  const nlohmann::json message = nlohmann::json::parse(json, nullptr, /*allow_exceptions=*/false);
  if (message.is_discarded()) return Error{"not JSON"};
  if (!message.is_object()) return Error{"not a JSON object"};
  for (const auto& [key, value] : message.items()) {
    if (key != "url" && key != "title" && key != "private" && key != "pid") {
      return Error{"unknown member"};
    }
  }
  const auto url = message.find("url");
  const auto title = message.find("title");
  const auto isPrivate = message.find("private");
  if (url == message.end() || !url->is_string()) return Error{"\"url\" must be text"};
  if (title == message.end() || !title->is_string()) return Error{"\"title\" must be text"};
  if (isPrivate == message.end() || !isPrivate->is_boolean()) {
    return Error{"\"private\" must be true or false"};
  }
  TabReport report;
  report.url = url->get<std::string>();
  report.title = title->get<std::string>();
  report.isPrivate = isPrivate->get<bool>();
  if (report.url.size() > kMaxReportedUrlBytes) return Error{"\"url\" is too long"};
  if (report.title.size() > kMaxReportedTitleBytes) return Error{"\"title\" is too long"};
  if (!isReportableUrl(report.url)) return Error{"\"url\" is not http, https or file"};
  if (const auto pid = message.find("pid"); pid != message.end()) {
    if (!pid->is_number_integer()) return Error{"\"pid\" must be a whole number"};
    const auto value = pid->get<std::int64_t>();
    if (value < 1 || value > kMaxProcessId) return Error{"\"pid\" is out of range"};
    report.processId = static_cast<int>(value);
  }
  return withoutPrivateDetails(std::move(report));
}

TabReport withoutPrivateDetails(TabReport report) {
  if (!report.isPrivate && !isPrivateWindowTitle(report.title)) return report;
  report.isPrivate = true;
  report.url.clear();
  report.title.clear();
  return report;
}

}  // namespace velto
