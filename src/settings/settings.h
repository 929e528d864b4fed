// Typed access to every user setting and remembered mark (keys in settings/settings_keys.h).
//
// Getters apply the default and the range rule at read time: an absent key, a value of the wrong
// type or a value out of range reads as the default. Setters store plain values and do not clamp;
// the getters stay the only place where the rules live.
//
// Stored types: booleans are JSON booleans only. Integers are JSON integers or JSON numbers with
// an integral value (a hand-edited 15.0 counts, 15.5 does not); values beyond the range of int
// saturate. Date-times are written as ISO 8601 UTC text in whole seconds
// ("2026-11-14T21:40:00Z"); any ISO 8601 date-time text is read back (base/iso8601.h), other
// values read as absent. Day keys and week marks are plain strings.
//
// Whenever a key's value changes, by a setter here or by another process's write picked up by
// reloadIfChanged, a notice named exactly as the key (for example "velto.retentionDays") is
// posted on the NoticeBus after the change is complete. Storing the value a key already holds
// posts nothing.
//
// Thread: main thread only, like the NoticeBus.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/calendar.h"
#include "base/notice_bus.h"
#include "base/settings_file.h"
#include "base/time.h"

namespace velto {

// How long recorded history is kept.
struct Retention {
  std::optional<int> days;  // whole days, at least 1; none: forever, nothing is purged
  bool forever() const { return !days.has_value(); }
  bool operator==(const Retention&) const = default;
};

class Settings {
 public:
  // Reads `file` at once (see SettingsFile for missing and damaged files).
  Settings(std::filesystem::path file, NoticeBus& notices);

  // $XDG_CONFIG_HOME/Velto/settings.json.
  static std::filesystem::path defaultPath();

  // Picks up another process's write and posts a notice for each key whose value changed. The
  // platform calls this when it sees the file change.
  void reloadIfChanged();

  // Whether `key` holds a stored value (of any type); absent keys read as their default.
  bool isStored(std::string_view key) const;
  // Removes the stored value of `key`, so its getter reads the default again.
  void reset(std::string_view key);

  // --- Recording ---
  bool isPaused() const;  // default false
  void setPaused(bool paused);
  // When a timed pause ends; none: no timed pause.
  std::optional<Instant> pausedUntil() const;
  void setPausedUntil(Instant until);  // stored to the whole second
  void clearPausedUntil();
  double idleThresholdSeconds() const;  // absent or <= 0: 120
  void setIdleThresholdSeconds(double seconds);
  // Absent or not an integer: 15. Values below 1 are returned as stored and mean the away
  // prompt is off; callers decide.
  int awayPromptMinutes() const;
  void setAwayPromptMinutes(int minutes);
  bool detailCaptureEnabled() const;  // default true
  void setDetailCaptureEnabled(bool enabled);

  // --- History ---
  // Forever while "velto.keepHistoryForever" is true, whatever the days hold; otherwise the
  // stored days, or 90 when they are absent, not an integer or <= 0.
  Retention retention() const;
  void setRetentionDays(int days);
  // Turning forever on also stores 365 days, so that turning it off again keeps a year.
  void setKeepHistoryForever(bool forever);

  // --- Limits and goals ---
  bool limitAlertsEnabled() const;  // default true
  void setLimitAlertsEnabled(bool enabled);
  bool goalAlertsEnabled() const;  // default false
  void setGoalAlertsEnabled(bool enabled);
  // The share of a limit at which the early warning is sent, in (0, 1]: absent or not a number
  // 0.8, above 1 reads as 1. None: stored <= 0, no early warning.
  std::optional<double> limitWarnRatio() const;
  void setLimitWarnRatio(double ratio);  // 0 turns the early warning off

  // --- Daily summary ---
  bool dailySummaryEnabled() const;  // default false
  void setDailySummaryEnabled(bool enabled);
  int dailySummaryHour() const;  // local hour 15-23; outside: 18
  void setDailySummaryHour(int hour);
  // The day key of the last day whose summary was sent; none: not yet sent.
  std::optional<std::string> dailySummaryDeliveredDay() const;
  void setDailySummaryDeliveredDay(std::string_view dayKey);
  void clearDailySummaryDeliveredDay();

  // --- Weekly digest ---
  bool weeklyDigestEnabled() const;  // default true
  void setWeeklyDigestEnabled(bool enabled);
  Weekday digestWeekday() const;  // 1 = Sunday ... 7 = Saturday; outside: 2 (Monday)
  void setDigestWeekday(Weekday weekday);
  int digestHour() const;  // local hour 0-23; outside: 9
  void setDigestHour(int hour);
  // The mark of the last week whose digest was sent; none: not yet sent.
  std::optional<std::string> digestDeliveredWeek() const;
  void setDigestDeliveredWeek(std::string_view weekMark);
  void clearDigestDeliveredWeek();
  int digestVariant() const;  // counter; absent, not an integer or negative: 0
  void setDigestVariant(int variant);
  // Default false: the summary is written by a local model, so it is opt-in.
  bool aiSummaryEnabled() const;
  void setAiSummaryEnabled(bool enabled);
  // The address of a loopback chat endpoint for the written summary; none (absent, not a string
  // or blank): the built-in writer. Whether the address is loopback is checked where it is used.
  std::optional<std::string> aiModelEndpoint() const;
  void setAiModelEndpoint(std::string_view address);
  void clearAiModelEndpoint();

  // --- Menu bar and appearance ---
  // The stored display mode when it is one of `modes`, else modes.front(); the menu bar owns the
  // list of modes and passes it in. Empty when `modes` is empty.
  std::string menuBarDisplay(std::span<const std::string_view> modes) const;
  void setMenuBarDisplay(std::string_view mode);
  // Seconds of screen time budgeted per day: absent or not a number 28800 (8 hours); none:
  // stored <= 0, no day budget.
  std::optional<double> dayBudgetSeconds() const;
  void setDayBudgetSeconds(double seconds);  // 0 removes the budget
  // "auto", "en", "tr", "de", "es" or "fr"; anything else reads as "auto" (follow the system).
  std::string uiLanguage() const;
  void setUiLanguage(std::string_view language);
  // "auto", "light" or "dark"; anything else reads as "auto".
  std::string theme() const;
  void setTheme(std::string_view theme);

  // --- Application shell ---
  bool launchAtLogin() const;  // default false
  void setLaunchAtLogin(bool enabled);
  // "autostart" or "service"; anything else reads as "autostart" (how older releases started).
  std::string launchAtLoginMode() const;
  void setLaunchAtLoginMode(std::string_view mode);
  bool onboardingCompleted() const;  // default false: onboarding is shown
  void setOnboardingCompleted(bool completed);
  // Default false. The user's consent to the accessibility interface: on Linux it turns on
  // reading browser tabs over AT-SPI (off: browsers are recorded by their window titles).
  bool accessibilityRequested() const;
  void setAccessibilityRequested(bool requested);

  // --- JSON documents ---
  // For "velto.exclusions", "velto.categories", "velto.limits", "velto.limitAlerts",
  // "velto.automationGrants" and "velto.menubar.statusItem". The document as stored (nested
  // JSON); text is parsed as JSON for older writers. None when absent, null, or text that is not
  // JSON (logged). Decoding the document is the owning feature's job, and so is logging when it
  // does not decode.
  std::optional<nlohmann::json> json(std::string_view key) const;
  void setJson(std::string_view key, nlohmann::json document);
  void clearJson(std::string_view key);

 private:
  bool boolean(std::string_view key, bool fallback) const;
  void store(std::string_view key, nlohmann::json value);
  void storeNumber(std::string_view key, double value);
  void erase(std::string_view key);
  void post(const SettingsFile::ChangedKeys& keys);

  SettingsFile file_;
  NoticeBus& notices_;
};

}  // namespace velto
