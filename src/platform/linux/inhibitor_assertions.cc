#include "platform/linux/inhibitor_assertions.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <algorithm>

namespace velto::platform {

namespace {

// Asked only near the idle threshold; a slow bus must not stall the main thread for long.
constexpr int kCallTimeoutMs = 500;

std::string lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

std::optional<std::vector<LogindInhibitor>> listLogindInhibitors() {
  QDBusConnection bus = QDBusConnection::systemBus();
  if (!bus.isConnected()) return std::nullopt;
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
      QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("ListInhibitors"));
  QDBusMessage reply = bus.call(call, QDBus::Block, kCallTimeoutMs);
  if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
    return std::nullopt;
  }
  std::vector<LogindInhibitor> rows;
  const QDBusArgument argument = reply.arguments().first().value<QDBusArgument>();
  argument.beginArray();
  while (!argument.atEnd()) {
    QString what, who, why, mode;
    uint uid = 0, pid = 0;
    argument.beginStructure();
    argument >> what >> who >> why >> mode >> uid >> pid;
    argument.endStructure();
    rows.push_back(LogindInhibitor{what.toStdString(), who.toStdString(), why.toStdString(),
                                   mode.toStdString(), uid, static_cast<int>(pid)});
  }
  argument.endArray();
  return rows;
}

std::optional<std::vector<std::string>> gnomeIdleAppIds() {
  QDBusConnection bus = QDBusConnection::sessionBus();
  const QString service = QStringLiteral("org.gnome.SessionManager");
  if (!bus.isConnected() || bus.interface() == nullptr ||
      !bus.interface()->isServiceRegistered(service).value()) {
    return std::nullopt;
  }
  QDBusInterface manager(service, QStringLiteral("/org/gnome/SessionManager"), service, bus);
  manager.setTimeout(kCallTimeoutMs);
  QDBusReply<QList<QDBusObjectPath>> paths = manager.call(QStringLiteral("GetInhibitors"));
  if (!paths.isValid()) return std::nullopt;
  std::vector<std::string> ids;
  for (const QDBusObjectPath& path : paths.value()) {
    QDBusInterface inhibitor(service, path.path(),
                             QStringLiteral("org.gnome.SessionManager.Inhibitor"), bus);
    inhibitor.setTimeout(kCallTimeoutMs);
    QDBusReply<uint> flags = inhibitor.call(QStringLiteral("GetFlags"));
    if (!flags.isValid() || (flags.value() & kGnomeInhibitIdle) == 0) continue;
    QDBusReply<QString> appId = inhibitor.call(QStringLiteral("GetAppId"));
    if (appId.isValid()) ids.push_back(appId.value().toStdString());
  }
  return ids;
}

}  // namespace

bool blocksIdle(const LogindInhibitor& inhibitor) {
  if (inhibitor.mode != "block") return false;
  std::string_view what = inhibitor.what;
  while (!what.empty()) {
    const size_t colon = what.find(':');
    if (what.substr(0, colon) == "idle") return true;
    if (colon == std::string_view::npos) break;
    what.remove_prefix(colon + 1);
  }
  return false;
}

bool gnomeAppIdMatches(const std::string& appId, const RunningApplication& application) {
  if (!application.bundleId || appId.empty()) return false;
  std::string id = lower(appId);
  constexpr std::string_view suffix = ".desktop";
  if (id.size() > suffix.size() &&
      id.compare(id.size() - suffix.size(), suffix.size(), suffix) == 0) {
    id.resize(id.size() - suffix.size());
  }
  return id == lower(*application.bundleId);
}

std::vector<std::string> holdTypes(int pid, const std::optional<RunningApplication>& application,
                                   const std::vector<LogindInhibitor>& logind,
                                   const std::vector<std::string>& gnomeIdleAppIds) {
  const bool held =
      std::any_of(logind.begin(), logind.end(),
                  [&](const LogindInhibitor& row) { return row.pid == pid && blocksIdle(row); }) ||
      (application &&
       std::any_of(gnomeIdleAppIds.begin(), gnomeIdleAppIds.end(),
                   [&](const std::string& id) { return gnomeAppIdMatches(id, *application); }));
  if (!held) return {};
  return {kIdleHoldType};
}

InhibitorAssertions::InhibitorAssertions(
    std::function<std::vector<RunningApplication>()> applications)
    : applications_(std::move(applications)) {}

std::vector<RunningApplication> InhibitorAssertions::runningApplications() {
  return applications_ ? applications_() : std::vector<RunningApplication>{};
}

std::optional<std::vector<std::string>> InhibitorAssertions::assertionTypes(int pid) {
  std::optional<std::vector<LogindInhibitor>> logind = listLogindInhibitors();
  std::optional<std::vector<std::string>> gnome = gnomeIdleAppIds();
  if (!logind && !gnome) return std::nullopt;
  std::optional<RunningApplication> application;
  if (gnome && !gnome->empty()) {
    for (RunningApplication& app : runningApplications()) {
      if (app.pid == pid) application = std::move(app);
    }
  }
  return holdTypes(pid, application, logind.value_or(std::vector<LogindInhibitor>{}),
                   gnome.value_or(std::vector<std::string>{}));
}

}  // namespace velto::platform
