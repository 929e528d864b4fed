// The General pane's logic, written straight through to the settings and the store: how long
// history is kept (30, 90, 365 days or forever; shortening asks first and purges at once through
// the retention purge that follows the keys), the idle threshold and the away prompt in whole
// minutes, language, theme, launch at login, deleting all recorded data, and the written summary
// of reports: whether it is offered and which writer writes it (the built-in one, or a language
// model at a loopback address, refused otherwise with the core's message).
// Thread: main thread.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "app/login_start.h"
#include "base/result.h"
#include "platform/linux/login_start_targets.h"

namespace velto {
class ServiceSet;
}

namespace velto::gui {

// Days kept; none: forever.
using RetentionChoice = std::optional<int>;
inline constexpr std::array<int, 3> kRetentionDayChoices = {30, 90, 365};
inline constexpr std::array<std::string_view, 3> kThemes = {"auto", "light", "dark"};
inline constexpr std::array<std::string_view, 6> kLanguages = {"auto", "en", "tr",
                                                               "de",   "es", "fr"};

class GeneralSettings {
 public:
  GeneralSettings(ServiceSet& services, platform::LoginStartPaths loginStart);

  RetentionChoice retention() const;
  // True when `choice` keeps less history than now: the pane asks first.
  bool shortens(RetentionChoice choice) const;
  // "Delete everything older than 30 days?"; empty when the choice does not shorten.
  std::string confirmationText(RetentionChoice choice) const;
  void setRetention(RetentionChoice choice);

  int idleMinutes() const;
  void setIdleMinutes(int minutes);
  // 0: the away prompt is off.
  int awayPromptMinutes() const;
  void setAwayPromptMinutes(int minutes);

  std::string language() const;
  void setLanguage(std::string_view language);
  std::string theme() const;
  void setTheme(std::string_view theme);

  // What the session holds now (the entry or the unit), which is what the pane shows.
  LoginStart launchAtLogin() const;
  // Stores the choice and writes the entry or enables the unit, turning the other off; on
  // failure the settings and the session stay as they were.
  Status setLaunchAtLogin(LoginStart start);
  // "autostart" or "service": the way chosen last, shown while starting at log-in is off.
  std::string launchAtLoginMode() const;

  Status deleteAllData();

  bool writtenSummary() const;
  void setWrittenSummary(bool offered);
  // "velto.aiModelEndpoint"; empty: the built-in writer.
  std::string modelAddress() const;
  // Stores a loopback address (trimmed); empty clears it. An address off this computer or not
  // an http:// address is not stored: the error is the catalog's message naming it.
  Status setModelAddress(std::string_view address);

 private:
  ServiceSet& services_;
  platform::SessionLoginStart loginStart_;
};

}  // namespace velto::gui
