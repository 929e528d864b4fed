// The names of the settings keys. Each name is also the NoticeBus notice posted when that key's
// value changes (see settings/settings.h).
#pragma once

#include <string_view>

namespace velto::keys {

// Recording.
inline constexpr std::string_view kIsPaused = "velto.isPaused";
inline constexpr std::string_view kPausedUntil = "velto.pausedUntil";
inline constexpr std::string_view kIdleThresholdSeconds = "velto.idleThresholdSeconds";
inline constexpr std::string_view kAwayPromptMinutes = "velto.awayPromptMinutes";
inline constexpr std::string_view kDetailCaptureEnabled = "velto.detailCaptureEnabled";
inline constexpr std::string_view kExclusions = "velto.exclusions";
inline constexpr std::string_view kAutomationGrants = "velto.automationGrants";

// Categories and history.
inline constexpr std::string_view kCategories = "velto.categories";
inline constexpr std::string_view kRetentionDays = "velto.retentionDays";
inline constexpr std::string_view kKeepHistoryForever = "velto.keepHistoryForever";

// Limits and goals.
inline constexpr std::string_view kLimits = "velto.limits";
inline constexpr std::string_view kLimitAlerts = "velto.limitAlerts";
inline constexpr std::string_view kLimitAlertsEnabled = "velto.limitAlertsEnabled";
inline constexpr std::string_view kGoalAlertsEnabled = "velto.goalAlertsEnabled";
inline constexpr std::string_view kLimitWarnRatio = "velto.limitWarnRatio";

// Daily summary and weekly digest.
inline constexpr std::string_view kDailySummaryEnabled = "velto.dailySummaryEnabled";
inline constexpr std::string_view kDailySummaryHour = "velto.dailySummaryHour";
inline constexpr std::string_view kDailySummaryDeliveredDay = "velto.dailySummaryDeliveredDay";
inline constexpr std::string_view kWeeklyDigestEnabled = "velto.weeklyDigestEnabled";
inline constexpr std::string_view kDigestWeekday = "velto.digestWeekday";
inline constexpr std::string_view kDigestHour = "velto.digestHour";
inline constexpr std::string_view kDigestDeliveredWeek = "velto.digestDeliveredWeek";
inline constexpr std::string_view kDigestVariant = "velto.digestVariant";
inline constexpr std::string_view kAiSummaryEnabled = "velto.aiSummaryEnabled";
// An OpenAI-compatible chat endpoint on this computer that writes the summary instead of the
// built-in writer.
inline constexpr std::string_view kAiModelEndpoint = "velto.aiModelEndpoint";

// Menu bar and appearance.
inline constexpr std::string_view kMenuBarDisplay = "velto.menuBarDisplay";
inline constexpr std::string_view kDayBudgetSeconds = "velto.dayBudgetSeconds";
inline constexpr std::string_view kUiLanguage = "velto.uiLanguage";
inline constexpr std::string_view kTheme = "velto.theme";
// Where the menu-bar item remembers its own position; no program logic reads it.
inline constexpr std::string_view kMenuBarStatusItem = "velto.menubar.statusItem";

// Application shell.
inline constexpr std::string_view kLaunchAtLogin = "velto.launchAtLogin";
// How Velto starts at log-in when "velto.launchAtLogin" is on: "autostart" (the tray application
// from the XDG autostart entry) or "service" (`velto record` from the systemd user unit).
inline constexpr std::string_view kLaunchAtLoginMode = "velto.launchAtLoginMode";
inline constexpr std::string_view kOnboardingCompleted = "velto.onboardingCompleted";
inline constexpr std::string_view kAccessibilityRequested = "velto.accessibilityRequested";

// Every key above.
inline constexpr std::string_view kAll[] = {kIsPaused,
                                            kPausedUntil,
                                            kIdleThresholdSeconds,
                                            kAwayPromptMinutes,
                                            kDetailCaptureEnabled,
                                            kExclusions,
                                            kAutomationGrants,
                                            kCategories,
                                            kRetentionDays,
                                            kKeepHistoryForever,
                                            kLimits,
                                            kLimitAlerts,
                                            kLimitAlertsEnabled,
                                            kGoalAlertsEnabled,
                                            kLimitWarnRatio,
                                            kDailySummaryEnabled,
                                            kDailySummaryHour,
                                            kDailySummaryDeliveredDay,
                                            kWeeklyDigestEnabled,
                                            kDigestWeekday,
                                            kDigestHour,
                                            kDigestDeliveredWeek,
                                            kDigestVariant,
                                            kAiSummaryEnabled,
                                            kAiModelEndpoint,
                                            kMenuBarDisplay,
                                            kDayBudgetSeconds,
                                            kUiLanguage,
                                            kTheme,
                                            kMenuBarStatusItem,
                                            kLaunchAtLogin,
                                            kLaunchAtLoginMode,
                                            kOnboardingCompleted,
                                            kAccessibilityRequested};

}  // namespace velto::keys
