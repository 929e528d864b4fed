// Sends log lines to the systemd journal when one is running.
#pragma once

#include "base/log.h"

namespace velto::platform {

// Installs stderr and, where the journal is reachable, the journal as log sinks. When stderr is
// already connected to the journal (a systemd service) the journal gets each line once.
void installLogSinks();

}  // namespace velto::platform
