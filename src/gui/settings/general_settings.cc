#include "gui/settings/general_settings.h"

#include <algorithm>
#include <cmath>

#include "app/service_set.h"
#include "base/strings.h"
#include "summaries/loopback_endpoint.h"

namespace velto::gui {

GeneralSettings::GeneralSettings(ServiceSet& services, platform::LoginStartPaths loginStart)
    : services_(services), loginStart_(std::move(loginStart)) {}

RetentionChoice GeneralSettings::retention() const {
  return services_.settings().retention().days;
}

bool GeneralSettings::shortens(RetentionChoice choice) const {
  if (!choice) return false;
  const RetentionChoice now = retention();
  return !now || *choice < *now;
}

std::string GeneralSettings::confirmationText(RetentionChoice choice) const {
  if (!shortens(choice)) return {};
  return i18n::text(services_.language(), "settings.general.retention.confirm %lld",
                    std::to_string(*choice));
}

void GeneralSettings::setRetention(RetentionChoice choice) {
  Settings& settings = services_.settings();
  if (!choice) {
    settings.setKeepHistoryForever(true);
    return;
  }
  // Days first, so the purge that follows the keys sees the new days when forever goes off.
  settings.setRetentionDays(*choice);
  settings.setKeepHistoryForever(false);
}

int GeneralSettings::idleMinutes() const {
  return static_cast<int>(std::lround(services_.settings().idleThresholdSeconds() / 60));
}

void GeneralSettings::setIdleMinutes(int minutes) {
  services_.settings().setIdleThresholdSeconds(std::max(1, minutes) * 60.0);
}

int GeneralSettings::awayPromptMinutes() const {
  return std::max(0, services_.settings().awayPromptMinutes());
}

void GeneralSettings::setAwayPromptMinutes(int minutes) {
  services_.settings().setAwayPromptMinutes(std::max(0, minutes));
}

std::string GeneralSettings::language() const {
  return services_.settings().uiLanguage();
}

void GeneralSettings::setLanguage(std::string_view language) {
  services_.settings().setUiLanguage(language);
}

std::string GeneralSettings::theme() const {
  return services_.settings().theme();
}

void GeneralSettings::setTheme(std::string_view theme) {
  services_.settings().setTheme(theme);
}

LoginStart GeneralSettings::launchAtLogin() const {
  return installedLoginStart(loginStart_);
}

Status GeneralSettings::setLaunchAtLogin(LoginStart start) {
  return chooseLoginStart(services_.settings(), start, loginStart_);
}

std::string GeneralSettings::launchAtLoginMode() const {
  return services_.settings().launchAtLoginMode();
}

Status GeneralSettings::deleteAllData() {
  return services_.store().wipe();
}

bool GeneralSettings::writtenSummary() const {
  return services_.settings().aiSummaryEnabled();
}

void GeneralSettings::setWrittenSummary(bool offered) {
  services_.settings().setAiSummaryEnabled(offered);
}

std::string GeneralSettings::modelAddress() const {
  return services_.settings().aiModelEndpoint().value_or(std::string());
}

Status GeneralSettings::setModelAddress(std::string_view address) {
  const size_t first = address.find_first_not_of(" \t");
  if (first == std::string_view::npos) {
    services_.settings().clearAiModelEndpoint();
    return Status();
  }
  address = address.substr(first, address.find_last_not_of(" \t") - first + 1);
  if (Result<LoopbackEndpoint> usable = loopbackEndpoint(address, services_.language()); !usable) {
    return Error{usable.error()};
  }
  services_.settings().setAiModelEndpoint(address);
  return Status();
}

}  // namespace velto::gui
