#include "settings/settings.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <utility>

#include "base/iso8601.h"
#include "base/log.h"
#include "base/paths.h"
#include "settings/settings_keys.h"

namespace velto {

namespace {

using nlohmann::json;

constexpr std::string_view kLanguages[] = {"auto", "en", "tr", "de", "es", "fr"};
constexpr std::string_view kThemes[] = {"auto", "light", "dark"};
constexpr std::string_view kLaunchModes[] = {"autostart", "service"};

std::optional<double> numberOf(const json* value) {
  if (value == nullptr || !value->is_number()) return std::nullopt;
  return value->get<double>();
}

// JSON integers, and numbers with an integral value; saturated to the range of int.
std::optional<int> integerOf(const json* value) {
  if (value == nullptr) return std::nullopt;
  if (value->is_number_unsigned()) {
    return static_cast<int>(std::min<std::uint64_t>(value->get<std::uint64_t>(), INT_MAX));
  }
  if (value->is_number_integer()) {
    return static_cast<int>(std::clamp<std::int64_t>(value->get<std::int64_t>(), INT_MIN, INT_MAX));
  }
  if (value->is_number_float()) {
    const double number = value->get<double>();
    if (!std::isfinite(number) || std::trunc(number) != number) return std::nullopt;
    return static_cast<int>(std::clamp<double>(number, INT_MIN, INT_MAX));
  }
  return std::nullopt;
}

std::optional<std::string> stringOf(const json* value) {
  if (value == nullptr || !value->is_string()) return std::nullopt;
  return value->get<std::string>();
}

std::optional<std::string> oneOf(const json* value, std::span<const std::string_view> allowed) {
  std::optional<std::string> text = stringOf(value);
  if (!text || std::find(allowed.begin(), allowed.end(), *text) == allowed.end()) {
    return std::nullopt;
  }
  return text;
}

}  // namespace

Settings::Settings(std::filesystem::path file, NoticeBus& notices)
    : file_(std::move(file)), notices_(notices) {}

std::filesystem::path Settings::defaultPath() {
  return paths::configDir() / "settings.json";
}

void Settings::reloadIfChanged() {
  post(file_.reloadIfChanged());
}

bool Settings::isStored(std::string_view key) const {
  return file_.value(key) != nullptr;
}

void Settings::reset(std::string_view key) {
  erase(key);
}

bool Settings::boolean(std::string_view key, bool fallback) const {
  const nlohmann::json* value = file_.value(key);
  return value != nullptr && value->is_boolean() ? value->get<bool>() : fallback;
}

void Settings::store(std::string_view key, nlohmann::json value) {
  post(file_.set(key, std::move(value)));
}

void Settings::storeNumber(std::string_view key, double value) {
  if (!std::isfinite(value)) return erase(key);
  // Whole numbers are stored as JSON integers so the file reads as the user would write it.
  if (std::trunc(value) == value && std::abs(value) < 9e15) {
    return store(key, static_cast<std::int64_t>(value));
  }
  store(key, value);
}

void Settings::erase(std::string_view key) {
  post(file_.remove(key));
}

void Settings::post(const SettingsFile::ChangedKeys& keys) {
  for (const std::string& key : keys) notices_.post(key);
}

// --- Recording ---

bool Settings::isPaused() const {
  return boolean(keys::kIsPaused, false);
}
void Settings::setPaused(bool paused) {
  store(keys::kIsPaused, paused);
}

std::optional<Instant> Settings::pausedUntil() const {
  std::optional<std::string> text = stringOf(file_.value(keys::kPausedUntil));
  return text ? parseIso8601(*text) : std::nullopt;
}
void Settings::setPausedUntil(Instant until) {
  store(keys::kPausedUntil, formatIso8601(until));
}
void Settings::clearPausedUntil() {
  erase(keys::kPausedUntil);
}

double Settings::idleThresholdSeconds() const {
  std::optional<double> seconds = numberOf(file_.value(keys::kIdleThresholdSeconds));
  return seconds && *seconds > 0 ? *seconds : 120;
}
void Settings::setIdleThresholdSeconds(double seconds) {
  storeNumber(keys::kIdleThresholdSeconds, seconds);
}

int Settings::awayPromptMinutes() const {
  return integerOf(file_.value(keys::kAwayPromptMinutes)).value_or(15);
}
void Settings::setAwayPromptMinutes(int minutes) {
  store(keys::kAwayPromptMinutes, minutes);
}

bool Settings::detailCaptureEnabled() const {
  return boolean(keys::kDetailCaptureEnabled, true);
}
void Settings::setDetailCaptureEnabled(bool enabled) {
  store(keys::kDetailCaptureEnabled, enabled);
}

// --- History ---

Retention Settings::retention() const {
  if (boolean(keys::kKeepHistoryForever, false)) return Retention{};
  std::optional<int> days = integerOf(file_.value(keys::kRetentionDays));
  return Retention{days && *days > 0 ? *days : 90};
}
void Settings::setRetentionDays(int days) {
  store(keys::kRetentionDays, days);
}
void Settings::setKeepHistoryForever(bool forever) {
  std::vector<SettingsFile::Edit> edits{{std::string(keys::kKeepHistoryForever), forever}};
  if (forever) edits.emplace_back(std::string(keys::kRetentionDays), 365);
  post(file_.apply(edits));
}

// --- Limits and goals ---

bool Settings::limitAlertsEnabled() const {
  return boolean(keys::kLimitAlertsEnabled, true);
}
void Settings::setLimitAlertsEnabled(bool enabled) {
  store(keys::kLimitAlertsEnabled, enabled);
}
bool Settings::goalAlertsEnabled() const {
  return boolean(keys::kGoalAlertsEnabled, false);
}
void Settings::setGoalAlertsEnabled(bool enabled) {
  store(keys::kGoalAlertsEnabled, enabled);
}

std::optional<double> Settings::limitWarnRatio() const {
  const double ratio = numberOf(file_.value(keys::kLimitWarnRatio)).value_or(0.8);
  if (ratio <= 0) return std::nullopt;
  return std::min(ratio, 1.0);
}
void Settings::setLimitWarnRatio(double ratio) {
  storeNumber(keys::kLimitWarnRatio, ratio);
}

// --- Daily summary ---

bool Settings::dailySummaryEnabled() const {
  return boolean(keys::kDailySummaryEnabled, false);
}
void Settings::setDailySummaryEnabled(bool enabled) {
  store(keys::kDailySummaryEnabled, enabled);
}
int Settings::dailySummaryHour() const {
  std::optional<int> hour = integerOf(file_.value(keys::kDailySummaryHour));
  return hour && *hour >= 15 && *hour <= 23 ? *hour : 18;
}
void Settings::setDailySummaryHour(int hour) {
  store(keys::kDailySummaryHour, hour);
}

std::optional<std::string> Settings::dailySummaryDeliveredDay() const {
  return stringOf(file_.value(keys::kDailySummaryDeliveredDay));
}
void Settings::setDailySummaryDeliveredDay(std::string_view dayKey) {
  store(keys::kDailySummaryDeliveredDay, dayKey);
}
void Settings::clearDailySummaryDeliveredDay() {
  erase(keys::kDailySummaryDeliveredDay);
}

// --- Weekly digest ---

bool Settings::weeklyDigestEnabled() const {
  return boolean(keys::kWeeklyDigestEnabled, true);
}
void Settings::setWeeklyDigestEnabled(bool enabled) {
  store(keys::kWeeklyDigestEnabled, enabled);
}
Weekday Settings::digestWeekday() const {
  std::optional<int> weekday = integerOf(file_.value(keys::kDigestWeekday));
  return weekday && *weekday >= 1 && *weekday <= 7 ? *weekday : 2;
}
void Settings::setDigestWeekday(Weekday weekday) {
  store(keys::kDigestWeekday, weekday);
}
int Settings::digestHour() const {
  std::optional<int> hour = integerOf(file_.value(keys::kDigestHour));
  return hour && *hour >= 0 && *hour <= 23 ? *hour : 9;
}
void Settings::setDigestHour(int hour) {
  store(keys::kDigestHour, hour);
}

std::optional<std::string> Settings::digestDeliveredWeek() const {
  return stringOf(file_.value(keys::kDigestDeliveredWeek));
}
void Settings::setDigestDeliveredWeek(std::string_view weekMark) {
  store(keys::kDigestDeliveredWeek, weekMark);
}
void Settings::clearDigestDeliveredWeek() {
  erase(keys::kDigestDeliveredWeek);
}

int Settings::digestVariant() const {
  return std::max(0, integerOf(file_.value(keys::kDigestVariant)).value_or(0));
}
void Settings::setDigestVariant(int variant) {
  store(keys::kDigestVariant, variant);
}

bool Settings::aiSummaryEnabled() const {
  return boolean(keys::kAiSummaryEnabled, false);
}
void Settings::setAiSummaryEnabled(bool enabled) {
  store(keys::kAiSummaryEnabled, enabled);
}
std::optional<std::string> Settings::aiModelEndpoint() const {
  std::optional<std::string> address = stringOf(file_.value(keys::kAiModelEndpoint));
  if (!address || address->find_first_not_of(" \t") == std::string::npos) return std::nullopt;
  return address;
}
void Settings::setAiModelEndpoint(std::string_view address) {
  store(keys::kAiModelEndpoint, address);
}
void Settings::clearAiModelEndpoint() {
  erase(keys::kAiModelEndpoint);
}

// --- Menu bar and appearance ---

std::string Settings::menuBarDisplay(std::span<const std::string_view> modes) const {
  if (modes.empty()) return {};
  return oneOf(file_.value(keys::kMenuBarDisplay), modes).value_or(std::string(modes.front()));
}
void Settings::setMenuBarDisplay(std::string_view mode) {
  store(keys::kMenuBarDisplay, mode);
}

std::optional<double> Settings::dayBudgetSeconds() const {
  const double seconds = numberOf(file_.value(keys::kDayBudgetSeconds)).value_or(28800);
  if (seconds <= 0) return std::nullopt;
  return seconds;
}
void Settings::setDayBudgetSeconds(double seconds) {
  storeNumber(keys::kDayBudgetSeconds, seconds);
}

std::string Settings::uiLanguage() const {
  return oneOf(file_.value(keys::kUiLanguage), kLanguages).value_or("auto");
}
void Settings::setUiLanguage(std::string_view language) {
  store(keys::kUiLanguage, language);
}

std::string Settings::theme() const {
  return oneOf(file_.value(keys::kTheme), kThemes).value_or("auto");
}
void Settings::setTheme(std::string_view theme) {
  store(keys::kTheme, theme);
}

// --- Application shell ---

bool Settings::launchAtLogin() const {
  return boolean(keys::kLaunchAtLogin, false);
}
void Settings::setLaunchAtLogin(bool enabled) {
  store(keys::kLaunchAtLogin, enabled);
}
std::string Settings::launchAtLoginMode() const {
  return oneOf(file_.value(keys::kLaunchAtLoginMode), kLaunchModes).value_or("autostart");
}
void Settings::setLaunchAtLoginMode(std::string_view mode) {
  store(keys::kLaunchAtLoginMode, mode);
}
bool Settings::onboardingCompleted() const {
  return boolean(keys::kOnboardingCompleted, false);
}
void Settings::setOnboardingCompleted(bool completed) {
  store(keys::kOnboardingCompleted, completed);
}
bool Settings::accessibilityRequested() const {
  return boolean(keys::kAccessibilityRequested, false);
}
void Settings::setAccessibilityRequested(bool requested) {
  store(keys::kAccessibilityRequested, requested);
}

// --- JSON documents ---

std::optional<nlohmann::json> Settings::json(std::string_view key) const {
  const nlohmann::json* value = file_.value(key);
  if (value == nullptr || value->is_null()) return std::nullopt;
  if (!value->is_string()) return *value;
  nlohmann::json parsed =
      nlohmann::json::parse(value->get_ref<const std::string&>(), nullptr, false);
  if (parsed.is_discarded()) {
    log::error("Could not read settings: %{public}s",
               std::string(key) + " holds text that is not JSON");
    return std::nullopt;
  }
  return parsed;
}
void Settings::setJson(std::string_view key, nlohmann::json document) {
  store(key, std::move(document));
}
void Settings::clearJson(std::string_view key) {
  erase(key);
}

}  // namespace velto
