// Today's figures for the tray chip, gathered from the running services: the day's total and
// focused time (recorded rows plus the running segment), what is in front, the enabled limits'
// progress and the user's chip settings. Seconds throughout; "today" is the calendar day of the
// services' clock in the services' zone.
// Thread: main thread.
#pragma once

#include "surfaces/menu_bar_title.h"

namespace velto {

class ServiceSet;

MenuBarTitle::Input menuBarInput(ServiceSet& services);

}  // namespace velto
