// Every settings key as the command line offers it: its kind, its default, the value the
// program reads now (through the typed getters, so defaults and range rules apply), and typed
// writes that refuse anything the getters would not read back as given.
//
// Writes go through the typed setters of Settings, so the same notices follow and a running
// recorder picks the change up. Keys kept by a feature of their own (limits, exclusions,
// categories, alert marks, delivered marks) are listed but not writable here; `owner` names the
// command that changes them, when there is one.
//
// Thread: main thread, like Settings.
#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "settings/settings.h"

namespace velto {

enum class SettingKind {
  boolean,   // true / false (also on / off, yes / no, 1 / 0)
  integer,   // a whole number within [minimum, maximum]
  number,    // a decimal number within [minimum, maximum]
  seconds,   // a duration ("2m", "90s", "1h30m") or a number of seconds
  choice,    // one of `choices`
  text,      // free text, not blank
  dateTime,  // ISO 8601; read-only here
  mark,      // a remembered day, week or counter; read-only here
  document,  // a JSON document owned by a feature; read-only here
};
std::string_view rawValue(SettingKind kind);

struct SettingInfo {
  std::string_view key;
  SettingKind kind;
  bool writable;
  double minimum;                         // integer, number and seconds kinds
  double maximum;                         // likewise
  std::vector<std::string_view> choices;  // choice kind
  std::string_view owner;                 // the command that keeps a read-only key, or empty
};

class SettingCatalog {
 public:
  // Every key, in the order of settings/settings_keys.h.
  static std::span<const SettingInfo> all();
  // The key named "velto.idleThresholdSeconds" or just "idleThresholdSeconds"; null when none.
  static const SettingInfo* find(std::string_view name);

  // The value the program uses now (null for an absent date-time, mark or document).
  static nlohmann::json value(const Settings& settings, const SettingInfo& info);
  // The value an absent key reads as.
  static nlohmann::json defaultValue(const SettingInfo& info);

  // The typed value `text` names for the key; an error, one line in `language`, when it is the
  // wrong type or out of range, or the key is not writable here.
  static Result<nlohmann::json> parse(const SettingInfo& info, std::string_view text,
                                      std::string_view language);
  // Stores a value `parse` returned, through the key's setter.
  static void write(Settings& settings, const SettingInfo& info, const nlohmann::json& value);
};

}  // namespace velto
