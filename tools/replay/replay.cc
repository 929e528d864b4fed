#include "replay.h"

#include <unistd.h>

#include <istream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "app/service_set.h"
#include "base/iso8601.h"
#include "base/manual_scheduler.h"
#include "base/notices.h"
#include "recording/scripted_sources.h"
#include "scripted_context.h"
#include "summaries/notification_router.h"

namespace velto::replay {

namespace {

using nlohmann::json;

struct LineError {
  std::string message;
};

const json& field(const json& event, const char* key) {
  auto found = event.find(key);
  if (found == event.end()) throw LineError{std::string("missing \"") + key + "\""};
  return *found;
}

std::string text(const json& event, const char* key) {
  const json& value = field(event, key);
  if (!value.is_string()) throw LineError{std::string("\"") + key + "\" must be text"};
  return value.get<std::string>();
}

std::optional<std::string> optionalText(const json& event, const char* key) {
  auto found = event.find(key);
  if (found == event.end() || found->is_null()) return std::nullopt;
  if (!found->is_string()) throw LineError{std::string("\"") + key + "\" must be text"};
  return found->get<std::string>();
}

bool boolean(const json& event, const char* key) {
  const json& value = field(event, key);
  if (!value.is_boolean()) throw LineError{std::string("\"") + key + "\" must be true or false"};
  return value.get<bool>();
}

int integer(const json& event, const char* key, int fallback) {
  auto found = event.find(key);
  if (found == event.end()) return fallback;
  if (!found->is_number_integer())
    throw LineError{std::string("\"") + key + "\" must be an integer"};
  return found->get<int>();
}

Instant instant(const json& event, const char* key) {
  const std::string value = text(event, key);
  std::optional<Instant> parsed = parseIso8601(value);
  if (!parsed)
    throw LineError{"\"" + std::string(key) + "\" is not an ISO 8601 date-time: " + value};
  return *parsed;
}

SessionSignal signalFor(const std::string& cause, bool suspend) {
  static const std::map<std::string, std::pair<SessionSignal, SessionSignal>> signals = {
      {"sleep", {SessionSignal::willSleep, SessionSignal::didWake}},
      {"displaySleep", {SessionSignal::screensDidSleep, SessionSignal::screensDidWake}},
      {"lock", {SessionSignal::screenLocked, SessionSignal::screenUnlocked}},
      {"screenSaver", {SessionSignal::screenSaverStarted, SessionSignal::screenSaverStopped}},
      {"sessionInactive",
       {SessionSignal::sessionDidResignActive, SessionSignal::sessionDidBecomeActive}},
  };
  auto found = signals.find(cause);
  if (found == signals.end()) throw LineError{"unknown cause \"" + cause + "\""};
  return suspend ? found->second.first : found->second.second;
}

json orNull(const std::optional<std::string>& value) {
  return value ? json(*value) : json(nullptr);
}

// The notifications the real notifiers post (limit and goal alerts, the daily summary, the
// weekly digest), printed as lines at the virtual instant they are posted, with the screen a
// click on them would open.
class PrintingNotifications final : public AppNotificationCentering {
 public:
  PrintingNotifications(const Clock& clock, const Calendar& calendar, std::ostream& output)
      : clock_(clock), calendar_(calendar), output_(output) {}

  void authorizationStatus(std::function<void(NotificationAuthorization)> done) override {
    done(NotificationAuthorization::authorized);
  }

  void add(const NotificationRequest& request, std::function<void(Status)> done) override {
    json line = {{"type", "notification"},
                 {"kind", kindOf(request)},
                 {"at", formatIso8601Local(clock_.now(), calendar_)},
                 {"title", request.title},
                 {"body", request.body},
                 {"route", routeOf(request.categoryIdentifier)}};
    if (request.about) line["about"] = calendar_.dayKey(*request.about);
    output_ << line.dump() << '\n';
    done(Status());
  }

 private:
  static std::string kindOf(const NotificationRequest& request) {
    const std::string_view category = request.categoryIdentifier;
    if (category == NotificationRouter::kDaily) return "daily";
    if (category == NotificationRouter::kDigest) return "digest";
    return request.identifier.ends_with(std::string(":") +
                                        std::string(rawValue(AlertLevel::goalReached)))
               ? "goal"
               : "limit";
  }

  // What the router opens for a click on the notification itself.
  static json routeOf(std::string_view category) {
    std::string route;
    NotificationRouter router;
    router.onOpenToday = [&] { route = "today"; };
    router.onOpenTodayOverview = [&] { route = "todayOverview"; };
    router.onOpenWeek = [&](std::optional<Instant>) { route = "week"; };
    router.handleResponse(category, true);
    return route.empty() ? json(nullptr) : json(route);
  }

  const Clock& clock_;
  const Calendar& calendar_;
  std::ostream& output_;
};

// "everything", "app:ID", "site:HOST" or "category:ID", as `velto limits add` takes them.
UsageLimit::Subject subjectNamed(const std::string& text, const std::string& name) {
  if (text == "everything") return UsageLimit::Subject::total();
  const size_t colon = text.find(':');
  const std::string kind = colon == std::string::npos ? "" : text.substr(0, colon);
  const std::string value = colon == std::string::npos ? "" : text.substr(colon + 1);
  if (!value.empty() && kind == "app") {
    return UsageLimit::Subject::app(value, name.empty() ? value : name);
  }
  if (!value.empty() && kind == "site") return UsageLimit::Subject::host(value);
  if (!value.empty() && kind == "category") return UsageLimit::Subject::category(value);
  throw LineError{"unknown subject \"" + text + "\""};
}

// One replay: the scripted desktop and, between launch and quit or crash, the services.
class Session {
 public:
  Session(Calendar calendar, std::filesystem::path folder, Instant start, std::ostream& output)
      : calendar_(std::move(calendar)),
        folder_(std::move(folder)),
        scheduler_(start),
        idle_(scheduler_),
        tabs_(scheduler_),
        notifications_(scheduler_, calendar_, output),
        output_(output) {}

  void advanceTo(Instant at) {
    if (at < scheduler_.now()) throw LineError{"events must come in time order"};
    scheduler_.advanceTo(at);
  }

  void apply(const std::string& name, const json& event, Instant at) {
    if (name == "launch") return launch();
    if (name == "quit") return quit();
    if (name == "crash") {
      services_.reset();
      return;
    }
    if (name == "end") return;
    if (name == "front") return activate(event);
    if (name == "title") {
      if (!frontWindow_) throw LineError{"no application in front"};
      if (frontWindow_->windowId != 0) {
        titles_.setWindowTitle(frontWindow_->windowId, text(event, "title"));
      } else {
        titles_.setTitle(frontWindow_->pid, text(event, "title"));
      }
      return;
    }
    if (name == "tab") {
      if (event.contains("url")) {
        tabs_.tab = BrowserTab{optionalText(event, "title").value_or(""), text(event, "url"),
                               event.contains("private") && boolean(event, "private")};
      } else {
        tabs_.tab.reset();
      }
      return;
    }
    if (name == "processes") return setProcesses(field(event, "list"));
    if (name == "active") return idle_.active();
    if (name == "away") return idle_.away(at);
    if (name == "media") {
      power_.mediaEverywhere = boolean(event, "present");
      return;
    }
    if (name == "suspend" || name == "resume") {
      return session_.send(signalFor(text(event, "cause"), name == "suspend"));
    }
    if (name == "clock") {
      if (std::optional<std::string> zone = optionalText(event, "tz")) {
        if (!calendar_.setZone(*zone)) throw LineError{"unknown time zone \"" + *zone + "\""};
        if (services_) services_->calendar().setZone(*zone);
      }
      return session_.send(SessionSignal::clockChanged);
    }
    if (name == "pause") {
      if (event.contains("until")) return requireServices().engine().pause(instant(event, "until"));
      return requireServices().engine().setPaused(true);
    }
    if (name == "resumeRecording") return requireServices().engine().setPaused(false);
    if (name == "command") {
      ServiceSet& services = requireServices();
      (void)services.commands().write(boolean(event, "paused"), instant(event, "requestedAt"));
      services.notices().post(notices::kTrackingCommand);
      return;
    }
    if (name == "settings") return applySettings(field(event, "values"));
    if (name == "limits") return applyLimits(field(event, "limits"));
    if (name == "wipe") {
      (void)requireServices().store().wipe();
      return;
    }
    throw LineError{"unknown event \"" + name + "\""};
  }

 private:
  ServiceSet& requireServices() {
    if (!services_) throw LineError{"Velto is not running (no launch)"};
    return *services_;
  }

  void launch() {
    if (services_) throw LineError{"Velto is already running"};
    Desktop desktop{front_, titles_,     idle_,      power_,     session_,
                    &tabs_, &processes_, scheduler_, scheduler_, &notifications_};
    ServicePaths paths{folder_ / "settings.json", folder_ / "data", folder_ / "shared"};
    services_ = std::make_unique<ServiceSet>(desktop, paths, calendar_);
    services_->onRecorded = [this](const RecordedSegment& s) { printSegment(s); };
    services_->engine().onGapDecided = [this](const AwayGap& gap, bool offered) {
      printGap(gap, offered);
    };
    idle_.active();
    services_->start();
  }

  void quit() {
    requireServices().quit();
    services_.reset();
  }

  void activate(const json& event) {
    const json& bundle = field(event, "bundleId");
    if (!bundle.is_null() && !bundle.is_string())
      throw LineError{"\"bundleId\" must be text or null"};
    const int pid = integer(event, "pid", 0);
    const int window = integer(event, "window", 0);
    if (window < 0) throw LineError{"\"window\" must not be negative"};
    RunningApplication application{
        bundle.is_null() ? std::nullopt : std::optional(bundle.get<std::string>()),
        optionalText(event, "appName").value_or(""),
        pid,
        static_cast<std::uint64_t>(window),
        {}};
    frontWindow_ = application;
    if (std::optional<std::string> title = optionalText(event, "title")) {
      if (window != 0) {
        titles_.setWindowTitle(static_cast<std::uint64_t>(window), *title);
      } else {
        titles_.setTitle(pid, *title);
      }
    }
    front_.activate(application);
  }

  void setProcesses(const json& list) {
    if (!list.is_array()) throw LineError{"\"list\" must be an array"};
    processes_.list.clear();
    for (const json& entry : list) {
      if (!entry.is_object()) throw LineError{"each process must be an object"};
      processes_.list.push_back(
          ScriptedProcess{ProcessInfo{integer(entry, "pid", 0), integer(entry, "ppid", 0),
                                      optionalText(entry, "name").value_or("")},
                          optionalText(entry, "exe").value_or("")});
    }
  }

  void applySettings(const json& values) {
    if (!values.is_object()) throw LineError{"\"values\" must be an object"};
    // Settings are written where the services read them; a running set sees the change at once.
    Settings* settings = services_ ? &services_->settings() : nullptr;
    std::unique_ptr<Settings> offline;
    NoticeBus quiet;
    if (settings == nullptr) {
      offline = std::make_unique<Settings>(folder_ / "settings.json", quiet);
      settings = offline.get();
    }
    for (const auto& [key, value] : values.items()) settings->setJson(key, value);
  }

  // Each rule is set as the Limits pane sets it (upsert by rule key): {"subject": "app:code",
  // "name": "Code", "kind": "limit"|"goal", "span": "day"|"week", "amount": seconds};
  // "enabled": false switches it off.
  void applyLimits(const json& rules) {
    if (!rules.is_array()) throw LineError{"\"limits\" must be an array"};
    LimitStore& store = requireServices().limits();
    for (const json& rule : rules) {
      if (!rule.is_object()) throw LineError{"each limit must be an object"};
      const UsageLimit::Subject subject =
          subjectNamed(text(rule, "subject"), optionalText(rule, "name").value_or(""));
      const auto kind = limitKindFromRaw(rule.contains("kind") ? text(rule, "kind") : "limit");
      const auto span = limitSpanFromRaw(rule.contains("span") ? text(rule, "span") : "day");
      if (!kind) throw LineError{"\"kind\" must be limit or goal"};
      if (!span) throw LineError{"\"span\" must be day or week"};
      const json& amount = field(rule, "amount");
      if (!amount.is_number() || !(amount.get<double>() > 0)) {
        throw LineError{"\"amount\" must be a positive number of seconds"};
      }
      store.set(subject, *kind, *span, amount.get<double>());
      if (rule.contains("enabled") && !boolean(rule, "enabled")) {
        for (const UsageLimit& limit : store.limits()) {
          if (limit.ruleKey() == ruleKey(*kind, *span, subject)) store.setEnabled(limit.id, false);
        }
      }
    }
  }

  void printSegment(const RecordedSegment& s) {
    const ServiceSet& services = *services_;
    (void)services;
    json line = {{"type", "segment"},
                 {"bundleId", s.context.bundleId},
                 {"appName", s.context.appName},
                 {"windowTitle", orNull(s.context.windowTitle)},
                 {"host", orNull(s.context.host)},
                 {"toolName", orNull(s.context.toolName)},
                 {"url", orNull(s.context.url)},
                 {"startedAt", formatIso8601Local(s.startedAt, calendar_)},
                 {"endedAt", formatIso8601Local(s.endedAt, calendar_)},
                 {"seconds", secondsBetween(s.startedAt, s.endedAt)},
                 {"endReason", rawValue(s.endReason)}};
    output_ << line.dump() << '\n';
  }

  void printGap(const AwayGap& gap, bool offered) {
    json causes = json::array();
    for (SuspensionCause cause : allSuspensionCauses()) {
      if (gap.causes.count(cause) != 0) causes.push_back(rawValue(cause));
    }
    json line = {{"type", "awayGap"},
                 {"start", formatIso8601Local(gap.start, calendar_)},
                 {"end", formatIso8601Local(gap.end, calendar_)},
                 {"causes", causes},
                 {"offered", offered}};
    output_ << line.dump() << '\n';
  }

  Calendar calendar_;
  std::filesystem::path folder_;
  ManualScheduler scheduler_;
  ScriptedFrontmostApp front_;
  ScriptedWindowTitles titles_;
  ScriptedIdleTime idle_;
  ScriptedPowerAssertions power_;
  ScriptedSessionEvents session_;
  ScriptedTabReader tabs_;
  ScriptedProcessTable processes_;
  PrintingNotifications notifications_;
  std::optional<RunningApplication> frontWindow_;
  std::ostream& output_;
  std::unique_ptr<ServiceSet> services_;
};

}  // namespace

int run(const Options& options, std::istream& input, std::ostream& output, std::ostream& errors) {
  std::optional<Calendar> calendar = Calendar::named(options.zone);
  if (!calendar) {
    errors << "velto-replay: unknown time zone \"" << options.zone << "\"\n";
    return 2;
  }
  std::filesystem::path folder;
  bool temporary = false;
  if (options.dataFolder) {
    folder = *options.dataFolder;
  } else {
    // A throwaway folder, in memory where the system offers one: a replayed day syncs its
    // checkpoint once per virtual minute.
    std::error_code error;
    const bool shm =
        std::filesystem::is_directory("/dev/shm", error) && ::access("/dev/shm", W_OK) == 0;
    std::string pattern = std::string(shm ? "/dev/shm" : "/tmp") + "/velto-replay-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
      errors << "velto-replay: could not make a temporary folder\n";
      return 1;
    }
    folder = pattern;
    temporary = true;
  }

  std::unique_ptr<Session> session;
  std::string line;
  int number = 0;
  int status = 0;
  while (std::getline(input, line)) {
    ++number;
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    try {
      json event = json::parse(line, nullptr, false);
      if (event.is_discarded() || !event.is_object()) throw LineError{"not a JSON object"};
      // Lines that set limits and switches may be written {"type": "limits"|"settings", ...}.
      const std::string name = event.contains("type") && !event.contains("event")
                                   ? text(event, "type")
                                   : text(event, "event");
      if (event.contains("type") && name != "limits" && name != "settings") {
        throw LineError{"\"type\" is for limits and settings lines"};
      }
      const Instant at = instant(event, "at");
      if (!session) session = std::make_unique<Session>(*calendar, folder, at, output);
      session->advanceTo(at);
      session->apply(name, event, at);
      output.flush();
      if (name == "end") break;
    } catch (const LineError& error) {
      errors << "velto-replay: line " << number << ": " << error.message << '\n';
      status = 2;
      break;
    }
  }
  session.reset();
  if (temporary) {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  return status;
}

}  // namespace velto::replay
