#include "app/setting_catalog.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

#include "base/duration_input.h"
#include "base/iso8601.h"
#include "base/strings.h"
#include "settings/settings_keys.h"
#include "surfaces/menu_bar_title.h"

namespace velto {

namespace {

using nlohmann::json;
namespace k = keys;

constexpr std::string_view kLanguages[] = {"auto", "en", "tr", "de", "es", "fr"};
constexpr std::string_view kThemes[] = {"auto", "light", "dark"};
constexpr std::string_view kLaunchModes[] = {"autostart", "service"};

SettingInfo plain(std::string_view key, SettingKind kind, double minimum = 0, double maximum = 0) {
  return SettingInfo{key, kind, true, minimum, maximum, {}, {}};
}

SettingInfo kept(std::string_view key, SettingKind kind, std::string_view owner = {}) {
  return SettingInfo{key, kind, false, 0, 0, {}, owner};
}

template <size_t N>
SettingInfo choice(std::string_view key, const std::string_view (&choices)[N]) {
  return SettingInfo{key, SettingKind::choice, true, 0, 0, {choices, choices + N}, {}};
}

SettingInfo choice(std::string_view key, std::span<const std::string_view> choices) {
  return SettingInfo{key, SettingKind::choice, true, 0, 0, {choices.begin(), choices.end()}, {}};
}

const std::vector<SettingInfo>& table() {
  static const std::vector<SettingInfo> all = {
      kept(k::kIsPaused, SettingKind::boolean, "velto pause"),
      kept(k::kPausedUntil, SettingKind::dateTime, "velto pause"),
      plain(k::kIdleThresholdSeconds, SettingKind::seconds, 1, 24 * 3600),
      plain(k::kAwayPromptMinutes, SettingKind::integer, 0, 24 * 60),
      plain(k::kDetailCaptureEnabled, SettingKind::boolean),
      kept(k::kExclusions, SettingKind::document, "velto exclude"),
      kept(k::kAutomationGrants, SettingKind::document),
      kept(k::kCategories, SettingKind::document, "velto categories"),
      plain(k::kRetentionDays, SettingKind::integer, 1, 100000),
      plain(k::kKeepHistoryForever, SettingKind::boolean),
      kept(k::kLimits, SettingKind::document, "velto limits"),
      kept(k::kLimitAlerts, SettingKind::document),
      plain(k::kLimitAlertsEnabled, SettingKind::boolean),
      plain(k::kGoalAlertsEnabled, SettingKind::boolean),
      plain(k::kLimitWarnRatio, SettingKind::number, 0, 1),
      plain(k::kDailySummaryEnabled, SettingKind::boolean),
      plain(k::kDailySummaryHour, SettingKind::integer, 15, 23),
      kept(k::kDailySummaryDeliveredDay, SettingKind::mark),
      plain(k::kWeeklyDigestEnabled, SettingKind::boolean),
      plain(k::kDigestWeekday, SettingKind::integer, 1, 7),
      plain(k::kDigestHour, SettingKind::integer, 0, 23),
      kept(k::kDigestDeliveredWeek, SettingKind::mark),
      kept(k::kDigestVariant, SettingKind::mark),
      plain(k::kAiSummaryEnabled, SettingKind::boolean),
      plain(k::kAiModelEndpoint, SettingKind::text),
      choice(k::kMenuBarDisplay, kMenuBarDisplayModes),
      plain(k::kDayBudgetSeconds, SettingKind::seconds, 0, 24 * 3600),
      choice(k::kUiLanguage, kLanguages),
      choice(k::kTheme, kThemes),
      kept(k::kMenuBarStatusItem, SettingKind::document),
      // Applied to the autostart entry and the systemd user unit by whoever writes them
      // (app/login_start.h).
      plain(k::kLaunchAtLogin, SettingKind::boolean),
      choice(k::kLaunchAtLoginMode, kLaunchModes),
      plain(k::kOnboardingCompleted, SettingKind::boolean),
      plain(k::kAccessibilityRequested, SettingKind::boolean),
  };
  return all;
}

std::string lowered(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

std::string trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(first, last - first + 1));
}

// A plain decimal number ("0.75", "-3", "120"); none for anything else.
std::optional<double> decimal(std::string_view text) {
  if (text.empty()) return std::nullopt;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

std::string numberText(double value) {
  json number = std::trunc(value) == value ? json(static_cast<std::int64_t>(value)) : json(value);
  return number.dump();
}

std::string joined(const std::vector<std::string_view>& choices) {
  std::string out;
  for (std::string_view choice : choices) {
    if (!out.empty()) out += ", ";
    out += choice;
  }
  return out;
}

json stored(double value) {
  if (std::trunc(value) == value && std::abs(value) < 9e15) return static_cast<std::int64_t>(value);
  return value;
}

}  // namespace

std::string_view rawValue(SettingKind kind) {
  switch (kind) {
    case SettingKind::boolean:
      return "boolean";
    case SettingKind::integer:
      return "integer";
    case SettingKind::number:
      return "number";
    case SettingKind::seconds:
      return "seconds";
    case SettingKind::choice:
      return "choice";
    case SettingKind::text:
      return "text";
    case SettingKind::dateTime:
      return "dateTime";
    case SettingKind::mark:
      return "mark";
    case SettingKind::document:
      return "document";
  }
  return "text";
}

std::span<const SettingInfo> SettingCatalog::all() {
  return table();
}

const SettingInfo* SettingCatalog::find(std::string_view name) {
  for (const SettingInfo& info : table()) {
    if (info.key == name || info.key.substr(std::string_view("velto.").size()) == name) {
      return &info;
    }
  }
  return nullptr;
}

json SettingCatalog::value(const Settings& settings, const SettingInfo& info) {
  const std::string_view key = info.key;
  if (key == k::kIsPaused) return settings.isPaused();
  if (key == k::kPausedUntil) {
    const std::optional<Instant> until = settings.pausedUntil();
    return until ? json(formatIso8601(*until)) : json();
  }
  if (key == k::kIdleThresholdSeconds) return stored(settings.idleThresholdSeconds());
  if (key == k::kAwayPromptMinutes) return settings.awayPromptMinutes();
  if (key == k::kDetailCaptureEnabled) return settings.detailCaptureEnabled();
  if (key == k::kRetentionDays) {
    // The days as they are read when forever is off again.
    const bool forever = settings.retention().forever();
    return forever ? json(365) : json(*settings.retention().days);
  }
  if (key == k::kKeepHistoryForever) return settings.retention().forever();
  if (key == k::kLimitAlertsEnabled) return settings.limitAlertsEnabled();
  if (key == k::kGoalAlertsEnabled) return settings.goalAlertsEnabled();
  if (key == k::kLimitWarnRatio) return stored(settings.limitWarnRatio().value_or(0));
  if (key == k::kDailySummaryEnabled) return settings.dailySummaryEnabled();
  if (key == k::kDailySummaryHour) return settings.dailySummaryHour();
  if (key == k::kDailySummaryDeliveredDay) {
    const auto day = settings.dailySummaryDeliveredDay();
    return day ? json(*day) : json();
  }
  if (key == k::kWeeklyDigestEnabled) return settings.weeklyDigestEnabled();
  if (key == k::kDigestWeekday) return static_cast<int>(settings.digestWeekday());
  if (key == k::kDigestHour) return settings.digestHour();
  if (key == k::kDigestDeliveredWeek) {
    const auto week = settings.digestDeliveredWeek();
    return week ? json(*week) : json();
  }
  if (key == k::kDigestVariant) return settings.digestVariant();
  if (key == k::kAiSummaryEnabled) return settings.aiSummaryEnabled();
  if (key == k::kAiModelEndpoint) {
    const auto endpoint = settings.aiModelEndpoint();
    return endpoint ? json(*endpoint) : json();
  }
  if (key == k::kMenuBarDisplay) return settings.menuBarDisplay(kMenuBarDisplayModes);
  if (key == k::kDayBudgetSeconds) return stored(settings.dayBudgetSeconds().value_or(0));
  if (key == k::kUiLanguage) return settings.uiLanguage();
  if (key == k::kTheme) return settings.theme();
  if (key == k::kLaunchAtLogin) return settings.launchAtLogin();
  if (key == k::kLaunchAtLoginMode) return settings.launchAtLoginMode();
  if (key == k::kOnboardingCompleted) return settings.onboardingCompleted();
  if (key == k::kAccessibilityRequested) return settings.accessibilityRequested();
  return settings.json(key).value_or(json());
}

json SettingCatalog::defaultValue(const SettingInfo& info) {
  const std::string_view key = info.key;
  if (key == k::kIdleThresholdSeconds) return 120;
  if (key == k::kAwayPromptMinutes) return 15;
  if (key == k::kDetailCaptureEnabled || key == k::kLimitAlertsEnabled ||
      key == k::kWeeklyDigestEnabled) {
    return true;
  }
  if (key == k::kRetentionDays) return 90;
  if (key == k::kLimitWarnRatio) return 0.8;
  if (key == k::kDailySummaryHour) return 18;
  if (key == k::kDigestWeekday) return 2;
  if (key == k::kDigestHour) return 9;
  if (key == k::kDigestVariant) return 0;
  if (key == k::kMenuBarDisplay) return kMenuBarDisplayModes.front();
  if (key == k::kDayBudgetSeconds) return 28800;
  if (key == k::kUiLanguage || key == k::kTheme) return "auto";
  if (key == k::kLaunchAtLoginMode) return "autostart";
  if (info.kind == SettingKind::boolean) return false;
  return json();
}

Result<json> SettingCatalog::parse(const SettingInfo& info, std::string_view typed,
                                   std::string_view language) {
  const std::string key(info.key);
  const std::string text = trimmed(typed);
  if (!info.writable) {
    if (info.owner.empty()) return Error{i18n::text(language, "cli.settings.kept %@", key)};
    return Error{i18n::text(language, "cli.settings.keptBy %@ %@", key, std::string(info.owner))};
  }
  auto outOfRange = [&](std::string_view problemKey) {
    return Error{i18n::text(language, problemKey, key, std::string(typed), numberText(info.minimum),
                            numberText(info.maximum))};
  };
  switch (info.kind) {
    case SettingKind::boolean: {
      const std::string word = lowered(text);
      if (word == "true" || word == "on" || word == "yes" || word == "1") return json(true);
      if (word == "false" || word == "off" || word == "no" || word == "0") return json(false);
      return Error{i18n::text(language, "cli.settings.notBoolean %@ %@", key, std::string(typed))};
    }
    case SettingKind::integer: {
      const std::optional<double> number = decimal(text);
      if (!number || std::trunc(*number) != *number || *number < info.minimum ||
          *number > info.maximum) {
        return outOfRange("cli.settings.notInteger %@ %@ %@ %@");
      }
      return json(static_cast<std::int64_t>(*number));
    }
    case SettingKind::number: {
      const std::optional<double> number = decimal(text);
      if (!number || *number < info.minimum || *number > info.maximum) {
        return outOfRange("cli.settings.notNumber %@ %@ %@ %@");
      }
      return stored(*number);
    }
    case SettingKind::seconds: {
      std::optional<double> seconds = decimal(text);
      if (!seconds) seconds = parseDuration(text);
      if (!seconds && info.minimum <= 0 && (text == "0" || lowered(text) == "off")) seconds = 0;
      if (!seconds || *seconds < info.minimum || *seconds > info.maximum) {
        return Error{i18n::text(language, "cli.settings.notDuration %@ %@ %@ %@", key,
                                std::string(typed), durationInputText(info.minimum),
                                durationInputText(info.maximum))};
      }
      return stored(*seconds);
    }
    case SettingKind::choice:
      if (std::find(info.choices.begin(), info.choices.end(), text) == info.choices.end()) {
        return Error{i18n::text(language, "cli.settings.notChoice %@ %@ %@", key,
                                std::string(typed), joined(info.choices))};
      }
      return json(text);
    case SettingKind::text:
      if (text.empty()) return Error{i18n::text(language, "cli.settings.blank %@", key)};
      return json(text);
    case SettingKind::dateTime:
    case SettingKind::mark:
    case SettingKind::document:
      break;
  }
  return Error{i18n::text(language, "cli.settings.kept %@", key)};
}

void SettingCatalog::write(Settings& settings, const SettingInfo& info, const json& value) {
  const std::string_view key = info.key;
  if (key == k::kIdleThresholdSeconds) return settings.setIdleThresholdSeconds(value.get<double>());
  if (key == k::kAwayPromptMinutes) return settings.setAwayPromptMinutes(value.get<int>());
  if (key == k::kDetailCaptureEnabled) return settings.setDetailCaptureEnabled(value.get<bool>());
  if (key == k::kRetentionDays) {
    // As the General pane does: days first, so the purge that follows the keys sees them.
    settings.setRetentionDays(value.get<int>());
    return settings.setKeepHistoryForever(false);
  }
  if (key == k::kKeepHistoryForever) return settings.setKeepHistoryForever(value.get<bool>());
  if (key == k::kLimitAlertsEnabled) return settings.setLimitAlertsEnabled(value.get<bool>());
  if (key == k::kGoalAlertsEnabled) return settings.setGoalAlertsEnabled(value.get<bool>());
  if (key == k::kLimitWarnRatio) return settings.setLimitWarnRatio(value.get<double>());
  if (key == k::kDailySummaryEnabled) return settings.setDailySummaryEnabled(value.get<bool>());
  if (key == k::kDailySummaryHour) return settings.setDailySummaryHour(value.get<int>());
  if (key == k::kWeeklyDigestEnabled) return settings.setWeeklyDigestEnabled(value.get<bool>());
  if (key == k::kDigestWeekday) {
    return settings.setDigestWeekday(static_cast<Weekday>(value.get<int>()));
  }
  if (key == k::kDigestHour) return settings.setDigestHour(value.get<int>());
  if (key == k::kAiSummaryEnabled) return settings.setAiSummaryEnabled(value.get<bool>());
  if (key == k::kAiModelEndpoint) return settings.setAiModelEndpoint(value.get<std::string>());
  if (key == k::kMenuBarDisplay) return settings.setMenuBarDisplay(value.get<std::string>());
  if (key == k::kDayBudgetSeconds) return settings.setDayBudgetSeconds(value.get<double>());
  if (key == k::kUiLanguage) return settings.setUiLanguage(value.get<std::string>());
  if (key == k::kTheme) return settings.setTheme(value.get<std::string>());
  if (key == k::kLaunchAtLogin) return settings.setLaunchAtLogin(value.get<bool>());
  if (key == k::kLaunchAtLoginMode) {
    return settings.setLaunchAtLoginMode(value.get<std::string>());
  }
  if (key == k::kOnboardingCompleted) return settings.setOnboardingCompleted(value.get<bool>());
  if (key == k::kAccessibilityRequested) {
    return settings.setAccessibilityRequested(value.get<bool>());
  }
}

}  // namespace velto
