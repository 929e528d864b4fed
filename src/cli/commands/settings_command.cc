// `velto settings [list|get KEY|set KEY VALUE|reset KEY]`: every settings key, typed as the
// program reads it. Writes go through the typed setters, so a running recorder picks them up
// from the settings file at once. Shortening how long history is kept deletes history, so it
// asks first (or takes --yes), as the General pane does. Changing how Velto starts at log-in
// writes the autostart entry or enables the systemd user unit at once, as the General pane does;
// when that fails the keys stay as they were.
#include "app/login_start.h"
#include "app/setting_catalog.h"
#include "base/strings.h"
#include "cli/command.h"
#include "cli/commands/command_support.h"
#include "cli/commands/edit_session.h"
#include "platform/linux/login_start_targets.h"
#include "settings/settings_keys.h"

namespace velto::cli {

namespace {

using nlohmann::json;

json entry(const Settings& settings, const SettingInfo& info) {
  const json value = SettingCatalog::value(settings, info);
  const json fallback = SettingCatalog::defaultValue(info);
  json out = {{"key", info.key},
              {"kind", rawValue(info.kind)},
              {"value", value},
              {"default", fallback},
              {"isDefault", !settings.isStored(info.key) || value == fallback},
              {"writable", info.writable}};
  if (info.kind == SettingKind::choice) out["choices"] = info.choices;
  if (info.kind == SettingKind::integer || info.kind == SettingKind::number ||
      info.kind == SettingKind::seconds) {
    out["minimum"] = info.minimum;
    out["maximum"] = info.maximum;
  }
  return out;
}

std::string valueText(const json& value) {
  if (value.is_null()) return "-";
  if (value.is_string()) return value.get<std::string>();
  std::string text = value.dump();
  if (text.size() > 60) text = text.substr(0, 57) + "...";
  return text;
}

std::string line(const json& entry, const std::string& language) {
  std::string text = entry["key"].get<std::string>() + " = " + valueText(entry["value"]);
  if (entry["isDefault"].get<bool>()) text += " " + i18n::text(language, "cli.settings.isDefault");
  return text;
}

const SettingInfo* known(const std::string& name, const std::string& language) {
  const SettingInfo* info = SettingCatalog::find(name);
  if (info == nullptr) complain(i18n::text(language, "cli.settings.unknownKey %@", name));
  return info;
}

// Days kept after the change, when it is a change of how long history is kept.
std::optional<Retention> retentionAfter(const Settings& settings, const SettingInfo& info,
                                        const json& value) {
  if (info.key == keys::kRetentionDays) return Retention{value.get<int>()};
  if (info.key == keys::kKeepHistoryForever) {
    if (value.get<bool>()) return Retention{std::nullopt};
    // Turning forever on stored a year, which is what turning it off keeps.
    const Retention now = settings.retention();
    return Retention{now.forever() ? std::optional<int>(365) : now.days};
  }
  return std::nullopt;
}

// True when the change may go ahead: it keeps at least as much history, or the user agreed.
bool historyMayShrink(const Settings& settings, const std::optional<Retention>& after, bool yes,
                      const std::string& language) {
  if (!after || after->forever()) return true;
  const Retention before = settings.retention();
  if (!before.forever() && *after->days >= *before.days) return true;
  if (yes) return true;
  const std::string question =
      i18n::text(language, "settings.general.retention.confirm %lld", std::to_string(*after->days));
  const std::string word = i18n::text(language, "cli.confirm.word");
  if (confirmedOnTerminal(question + " " + i18n::text(language, "cli.confirm.type %@", word),
                          word)) {
    return true;
  }
  complain(question + " " + i18n::text(language, "cli.confirm.needYes"));
  return false;
}

int list(EditSession& session, const std::vector<std::string>& args) {
  const auto parsed = options(session.language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (!parsed->positional.empty()) {
    complain(i18n::text(session.language, "cli.settings.usage"));
    return kBadUsage;
  }
  const Settings& settings = session.services().settings();
  json all = json::array();
  for (const SettingInfo& info : SettingCatalog::all()) all.push_back(entry(settings, info));
  if (parsed->has("--json")) {
    printJson({{"settings", all}});
  } else {
    for (const json& item : all) printLine(line(item, session.language));
  }
  return kDone;
}

int get(EditSession& session, const std::vector<std::string>& args) {
  const auto parsed = options(session.language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 1) {
    complain(i18n::text(session.language, "cli.settings.usage"));
    return kBadUsage;
  }
  const SettingInfo* info = known(parsed->positional.front(), session.language);
  if (info == nullptr) return kFailed;
  const json item = entry(session.services().settings(), *info);
  if (parsed->has("--json")) {
    printJson(item);
  } else {
    printLine(valueText(item["value"]));
  }
  return kDone;
}

int change(EditSession& session, const SettingInfo& info, const std::optional<json>& value,
           const ParsedOptions& parsed) {
  Settings& settings = session.services().settings();
  const std::string& language = session.language;
  const json before = SettingCatalog::value(settings, info);
  const std::optional<Retention> after =
      retentionAfter(settings, info, value ? *value : SettingCatalog::defaultValue(info));
  if (!historyMayShrink(settings, after, parsed.has("--yes"), language)) return kFailed;
  auto write = [&] {
    if (value) {
      SettingCatalog::write(settings, info, *value);
    } else {
      settings.reset(info.key);
    }
  };
  if (info.key == keys::kLaunchAtLogin || info.key == keys::kLaunchAtLoginMode) {
    platform::SessionLoginStart targets(
        platform::LoginStartPaths::forUser(platform::veltoNextToThisProgram()));
    if (Status applied = changeLoginStart(settings, targets, write); !applied) {
      complain(i18n::text(language, "cli.settings.loginStartFailed %@", applied.error()));
      return kFailed;
    }
  } else {
    write();
  }
  const json now = SettingCatalog::value(settings, info);
  if (now == before) {
    complain(i18n::text(language, "cli.settings.unchanged %@ %@", std::string(info.key),
                        valueText(now)));
  } else {
    complain(i18n::text(language, "cli.settings.changed %@ %@ %@", std::string(info.key),
                        valueText(before), valueText(now)));
  }
  if (parsed.has("--json")) printJson(entry(settings, info));
  return kDone;
}

int set(EditSession& session, const std::vector<std::string>& args) {
  const auto parsed = options(session.language, args, {}, {"--json", "--yes"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 2) {
    complain(i18n::text(session.language, "cli.settings.usage"));
    return kBadUsage;
  }
  const SettingInfo* info = known(parsed->positional[0], session.language);
  if (info == nullptr) return kFailed;
  Result<json> value = SettingCatalog::parse(*info, parsed->positional[1], session.language);
  if (!value) {
    complain(value.error());
    return kFailed;
  }
  return change(session, *info, *value, *parsed);
}

int reset(EditSession& session, const std::vector<std::string>& args) {
  const auto parsed = options(session.language, args, {}, {"--json", "--yes"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 1) {
    complain(i18n::text(session.language, "cli.settings.usage"));
    return kBadUsage;
  }
  const SettingInfo* info = known(parsed->positional.front(), session.language);
  if (info == nullptr) return kFailed;
  if (!info->writable) {
    Result<json> refused = SettingCatalog::parse(*info, "", session.language);
    complain(refused ? std::string() : refused.error());
    return kFailed;
  }
  return change(session, *info, std::nullopt, *parsed);
}

int run(const Invocation& invocation) {
  EditSession session(invocation.language);
  auto with = [&](int (*verb)(EditSession&, const std::vector<std::string>&)) {
    return [&session, verb](const std::vector<std::string>& args) { return verb(session, args); };
  };
  return runVerb(
      invocation,
      {{"list", with(list)}, {"get", with(get)}, {"set", with(set)}, {"reset", with(reset)}},
      "list", "cli.settings.usage");
}

const Registration registration(Command{"settings",
                                        "cli.settings.summary",
                                        "cli.settings.help",
                                        run,
                                        {"list", "get", "set", "reset", "--json", "--yes"}});

}  // namespace

}  // namespace velto::cli
