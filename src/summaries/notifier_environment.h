// What the notifiers (limit monitor, daily summary, weekly digest) work with. Every reference
// must outlive the notifier.
#pragma once

#include <functional>
#include <string>

#include "base/calendar.h"
#include "base/clock.h"
#include "base/notice_bus.h"
#include "base/scheduler.h"
#include "settings/settings.h"
#include "summaries/notification_center.h"

namespace velto {

struct SummaryEnvironment {
  Settings& settings;
  const Calendar& calendar;
  const Clock& clock;
  Scheduler& scheduler;
  NoticeBus& notices;
  AppNotificationCentering& notifications;
  std::function<std::string()> language;  // the interface language for every text

  std::string currentLanguage() const { return language ? language() : "en"; }
};

}  // namespace velto
