// `velto status [--json | --format waybar]`: whether a recorder runs, whether tracking is paused,
// which desktop backend runs and which desktop sources work in this session; or today's chip as
// one line for a waybar module.
//
// --json prints one object:
//   "recorder": {"running": bool, "pid": int, "startedBy": "service" (the systemd user unit) |
//     "autostart" (the autostart entry, where the desktop starts entries through systemd) |
//     "other" | null (no recorder)}, "paused": bool, "pausedUntil": ISO 8601 | null,
//   "backend": "x11" | "wlroots" | "kwin" | "gnome" | null (no backend fits this session),
//   "backendReason": catalog key of why there is no backend | null,
//   "sources": {"windows", "idle", "sessionBus", "logind", "clock", "processes"}: each "ok" |
//     "missing" ("processes": the process of the window in front is known, so terminal tools
//     and browser tabs can be read),
//   "missingSources": [catalog keys of the messages of what is missing],
//   "browserTabs": "off" | "atspi" | "missing" (reading over AT-SPI),
//   "browserHosts": [keys of the browsers with the extension's host installed: "chromium",
//     "chrome", "brave", "edge", "vivaldi", "firefox"],
//   "browserReports": "listening" (a recorder owns org.velto.Recorder and takes the
//     extension's reports) | "missing",
//   "loginStart": {"installed": what starts at log-in now, "chosen": what the settings choose},
//     each "off" | "autostart" (the tray application from the autostart entry) | "service"
//     (`velto record` from the systemd user unit velto.service).
#include <cstdio>
#include <nlohmann/json.hpp>

#include "app/login_start.h"
#include "app/service_set.h"
#include "base/iso8601.h"
#include "base/notice_bus.h"
#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/recorder_presence.h"
#include "cli/commands/waybar_source.h"
#include "context/native_host_manifests.h"
#include "platform/linux/atspi_tab_reader.h"
#include "platform/linux/browser_report_bus.h"
#include "platform/linux/linux_desktop.h"
#include "platform/linux/login_start_targets.h"
#include "settings/settings.h"

namespace velto::cli {

namespace {

void out(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fputc('\n', stdout);
}

// Where the window in front is read, as status names it.
std::string frontSourceName(platform::Backend backend) {
  switch (backend) {
    case platform::Backend::x11:
      return "X11";
    case platform::Backend::wlroots:
      return "wlroots";
    case platform::Backend::kwin:
      return "KWin script";
    case platform::Backend::gnome:
      return "GNOME Shell extension";
    case platform::Backend::none:
      break;
  }
  return {};
}

int status(const Invocation& invocation) {
  bool json = false;
  bool waybar = false;
  const std::vector<std::string>& args = invocation.args;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--json") {
      json = true;
    } else if (args[i] == "--format" && i + 1 < args.size() && args[i + 1] == "waybar") {
      waybar = true;
      ++i;
    } else {
      std::fprintf(stderr, "%s\n",
                   i18n::text(invocation.language, "recorder.badOption %@", args[i]).c_str());
      return 2;
    }
  }
  const std::string& language = invocation.language;
  const ServicePaths paths = defaultServicePaths();
  const std::optional<int> recorder =
      RecorderLock(paths.sharedFolder.value_or(paths.settingsFile.parent_path())).holder();
  if (waybar) {
    out(waybarStatusLine(language, recorder.has_value()));
    return 0;
  }
  NoticeBus notices;
  Settings settings(paths.settingsFile, notices);
  const bool paused = settings.isPaused();
  const std::optional<Instant> until = paused ? settings.pausedUntil() : std::nullopt;

  const platform::BackendEnvironment environment = platform::processBackendEnvironment();
  const Result<platform::BackendChoice> chosen = platform::chooseBackend(environment);
  if (!chosen) {
    std::fprintf(stderr, "%s\n",
                 i18n::text(language, "backend.error.unknown %@", environment.requested).c_str());
    return 2;
  }
  platform::LinuxDesktop desktop(*chosen, platform::SessionUse::inspecting);
  const platform::BackendChoice& backend = desktop.backendChoice();
  const std::vector<platform::MissingSource> missing = desktop.missingSources();
  auto has = [&](platform::MissingSource source) {
    return std::find(missing.begin(), missing.end(), source) == missing.end();
  };
  using platform::MissingSource;
  const bool windowsSeen =
      has(MissingSource::backend) && has(MissingSource::display) && has(MissingSource::compositor);
  const bool idleSeen =
      windowsSeen && has(MissingSource::idleTime) && has(MissingSource::compositorIdle);
  const bool logindSeen = has(MissingSource::logind) && has(MissingSource::loginSession);
  // Tabs are read only with the user's opt-in, and only where the session has an
  // accessibility bus; otherwise browsers are recorded by title.
  const bool tabsOptedIn = settings.accessibilityRequested();
  const bool tabsReadable = tabsOptedIn && platform::AtspiTabReader::hasAccessibilityBus();
  const char* tabsState = !tabsOptedIn ? "off" : tabsReadable ? "atspi" : "missing";
  const std::vector<const NativeHostBrowser*> hosts = browsersWithVeltoHost(currentUserFolders());
  const platform::bus::Connection bus = platform::bus::openSessionBus();
  const bool reportsTaken =
      bus && platform::bus::nameHasOwner(bus.get(), platform::kRecorderBusName,
                                         std::chrono::milliseconds(500));

  const platform::SessionLoginStart loginTargets(
      platform::LoginStartPaths::forUser(platform::veltoNextToThisProgram()));
  const LoginStart installed = installedLoginStart(loginTargets);
  const LoginStart chosenStart = chosenLoginStart(settings);
  // How the running recorder started (`other` when its control group does not say).
  const platform::RecorderOrigin origin =
      recorder ? platform::recorderOrigin(*recorder).value_or(platform::RecorderOrigin::other)
               : platform::RecorderOrigin::other;

  if (json) {
    nlohmann::json document;
    document["recorder"] = {
        {"running", recorder.has_value()},
        {"pid", recorder.value_or(0)},
        {"startedBy", recorder ? nlohmann::json(platform::rawValue(origin)) : nullptr}};
    document["paused"] = paused;
    document["pausedUntil"] = until ? nlohmann::json(formatIso8601(*until)) : nullptr;
    nlohmann::json sources = nlohmann::json::array();
    for (platform::MissingSource source : missing) {
      sources.push_back(platform::missingSourceKey(source));
    }
    document["missingSources"] = sources;
    const bool none = backend.backend == platform::Backend::none;
    document["backend"] = none ? nullptr : nlohmann::json(platform::backendName(backend.backend));
    document["backendReason"] = none ? nlohmann::json(backend.reasonKey) : nullptr;
    auto state = [](bool works) { return works ? "ok" : "missing"; };
    document["sources"] = {{"windows", state(windowsSeen)},
                           {"idle", state(idleSeen)},
                           {"sessionBus", state(has(MissingSource::sessionBus))},
                           {"logind", state(logindSeen)},
                           {"clock", state(has(MissingSource::clockWatch))},
                           {"processes", state(windowsSeen && has(MissingSource::processes))}};
    document["browserTabs"] = tabsState;
    nlohmann::json hostKeys = nlohmann::json::array();
    for (const NativeHostBrowser* browser : hosts) hostKeys.push_back(browser->key);
    document["browserHosts"] = hostKeys;
    document["browserReports"] = reportsTaken ? "listening" : "missing";
    document["loginStart"] = {{"installed", rawValue(installed)},
                              {"chosen", rawValue(chosenStart)}};
    out(document.dump(2));
    return 0;
  }
  out(recorder ? i18n::text(language, "status.recorder.running %@", std::to_string(*recorder))
               : i18n::text(language, "status.recorder.stopped"));
  if (recorder && origin != platform::RecorderOrigin::other) {
    out("  " +
        i18n::text(language, "status.recorder.origin." + std::string(platform::rawValue(origin))));
  }
  auto loginText = [&](LoginStart start) {
    return i18n::text(language, "status.value.loginStart." + std::string(rawValue(start)));
  };
  std::string login = loginText(installed);
  if (chosenStart != installed) {
    login += " (" +
             i18n::text(language, "status.value.loginStart.chosen %@", loginText(chosenStart)) +
             ")";
  }
  out(i18n::text(language, "status.source.loginStart %@", login));
  if (!paused) {
    out(i18n::text(language, "status.tracking.recording"));
  } else if (until) {
    out(i18n::text(language, "status.tracking.pausedUntil %@",
                   formatIso8601Local(*until, Calendar::current())));
  } else {
    out(i18n::text(language, "status.tracking.paused"));
  }
  const std::string missingText = i18n::text(language, "status.value.missing");
  out(i18n::text(language, "status.sources"));
  out("  " + i18n::text(language, "status.source.backend %@",
                        backend.backend == platform::Backend::none
                            ? i18n::text(language, "status.value.noBackend %@",
                                         i18n::text(language, backend.reasonKey))
                            : std::string(platform::backendName(backend.backend))));
  out("  " + i18n::text(language, "status.source.front %@",
                        windowsSeen ? frontSourceName(backend.backend) : missingText));
  const std::string processSource = desktop.processSourceName();
  out("  " + i18n::text(language, "status.source.processes %@",
                        windowsSeen && !processSource.empty() ? processSource : missingText));
  const std::string idleSource = desktop.idleSourceName();
  out("  " + i18n::text(language, "status.source.idle %@",
                        idleSeen && !idleSource.empty() ? idleSource : missingText));
  out("  " + i18n::text(language, "status.source.session %@",
                        logindSeen ? std::string("logind") : missingText));
  out("  " + i18n::text(language, "status.source.screenSaver %@",
                        has(MissingSource::sessionBus) ? std::string("D-Bus") : missingText));
  out("  " + i18n::text(language, "status.source.browser %@",
                        !tabsOptedIn   ? i18n::text(language, "status.value.atspiOff")
                        : tabsReadable ? i18n::text(language, "status.value.atspiOn")
                                       : missingText));
  std::string hostNames;
  for (const NativeHostBrowser* browser : hosts) {
    if (!hostNames.empty()) hostNames += ", ";
    hostNames += browser->name;
  }
  out("  " +
      i18n::text(language, "status.source.browserHosts %@",
                 hosts.empty() ? i18n::text(language, "status.value.noBrowserHosts") : hostNames));
  if (!hosts.empty()) {
    out("  " + i18n::text(language, "status.source.browserReports %@",
                          i18n::text(language, reportsTaken ? "status.value.reportsTaken"
                                                            : "status.value.reportsNotTaken")));
  }
  return 0;
}

const Registration registration{
    Command{"status", "status.summary", "status.help", status, {"--json", "--format", "waybar"}}};

}  // namespace

}  // namespace velto::cli
