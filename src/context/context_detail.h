// The detail that reports group a stretch of time by, worked out from what was recorded: the
// site for a host; otherwise by the application's family, the project and tool of a terminal,
// the project of an editor, the workspace of a chat app, the document of a document app, or the
// window of an application in no catalog. Media apps never have a detail.
//
// Pure; the same rules serve a live context and a stored record, so the detail of a row never
// depends on when it is asked for.
#pragma once

#include <optional>
#include <string_view>

#include "recording/activity_context.h"
#include "recording/activity_detail.h"
#include "recording/recorded_segment.h"

namespace velto {

// The recorded fields the detail depends on.
struct DetailSource {
  std::string_view bundleId;
  std::string_view appName;
  std::optional<std::string_view> windowTitle;
  std::optional<std::string_view> host;
  std::optional<std::string_view> toolName;  // the terminal tool found under the process tree
};

std::optional<ActivityDetail> deriveDetail(const DetailSource& source);
std::optional<ActivityDetail> deriveDetail(const ActivityContext& context);
std::optional<ActivityDetail> deriveDetail(const RecordedSegment& segment);

}  // namespace velto
