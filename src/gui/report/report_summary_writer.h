// The report window's written-summary hook wired to the summary engine: the facts of the figures
// shown go to the model the settings choose (the built-in writer, or the loopback endpoint of
// "velto.aiModelEndpoint"), and the card gets its sentences joined by spaces, the "summary.empty"
// notice, or why the request failed (a refused address is the catalog's message). Texts are in
// the interface language at the time of the request.
// Thread: main thread. The services outlive the writer; the window keeps it alive.
#pragma once

#include "gui/report/report_window.h"

namespace velto::gui {

ReportWindow::SummaryWriter reportSummaryWriter(ServiceSet& services);

}  // namespace velto::gui
