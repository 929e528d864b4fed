// `velto categories [list|add|rename|recolor|set-focus|reset|remove]`: the categories of the
// Categories pane, through the same catalog. Removing a category of the user's takes its rules
// and limits with it, as in the desktop application.
#include <algorithm>

#include "base/strings.h"
#include "categories/color_hue.h"
#include "categories/focus_label.h"
#include "cli/command.h"
#include "cli/commands/command_support.h"
#include "cli/commands/edit_session.h"

namespace velto::cli {

namespace {

using nlohmann::json;

json categoryJson(EditSession& session, const UsageCategory& category) {
  CategoryCatalog& catalog = session.services().categories();
  const EffectiveCategory effective = catalog.effective(category, session.language);
  json out = {{"id", effective.rawValue},        {"name", effective.name},
              {"builtIn", category.isBuiltIn()}, {"focus", rawValue(effective.focus)},
              {"colour", effective.hueKey},      {"renamedFrom", nullptr}};
  if (const auto builtIn = category.builtIn(); builtIn && category.isBuiltIn()) {
    const std::string shipped =
        i18n::text(session.language, "category." + std::string(rawValue(*builtIn)));
    if (shipped != effective.name) out["renamedFrom"] = shipped;
  }
  return out;
}

std::string line(const json& item, const std::string& language) {
  std::string text = item["id"].get<std::string>() + "  " + item["name"].get<std::string>() + "  " +
                     i18n::text(language, "focus.label." + item["focus"].get<std::string>()) +
                     "  " +
                     i18n::text(language, "categories.colour." + item["colour"].get<std::string>());
  if (!item["builtIn"].get<bool>()) text += "  " + i18n::text(language, "cli.categories.own");
  return text;
}

std::optional<UsageCategory> named(EditSession& session, const std::string& text) {
  if (auto raw = categoryNamed(session.services().categories(), text, session.language)) {
    return UsageCategory::fromRaw(*raw);
  }
  complain(i18n::text(session.language, "cli.unknownCategory %@", text));
  return std::nullopt;
}

std::optional<std::string> colourNamed(const std::string& text, const std::string& language) {
  const auto keys = offeredHueKeys();
  if (std::find(keys.begin(), keys.end(), text) != keys.end()) return text;
  std::string offered;
  for (std::string_view key : keys) offered += (offered.empty() ? "" : ", ") + std::string(key);
  complain(i18n::text(language, "cli.badChoice %@ %@ %@", "COLOUR", text, offered));
  return std::nullopt;
}

std::optional<FocusLabel> focusNamed(const std::string& text, const std::string& language) {
  if (auto label = focusLabelFromRaw(text)) return label;
  complain(
      i18n::text(language, "cli.badChoice %@ %@ %@", "FOCUS", text, "focus, neutral, distracting"));
  return std::nullopt;
}

std::string trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(first, last - first + 1));
}

int list(EditSession& session, const std::vector<std::string>& args) {
  const auto parsed = options(session.language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (!parsed->positional.empty()) {
    complain(i18n::text(session.language, "cli.categories.usage"));
    return kBadUsage;
  }
  json all = json::array();
  for (const UsageCategory& category : session.services().categories().allCategories()) {
    all.push_back(categoryJson(session, category));
  }
  if (parsed->has("--json")) {
    printJson({{"categories", all}});
  } else {
    for (const json& item : all) printLine(line(item, session.language));
  }
  return kDone;
}

int finish(EditSession& session, const UsageCategory& category, const ParsedOptions& parsed,
           std::string_view messageKey) {
  const json item = categoryJson(session, category);
  complain(i18n::text(session.language, messageKey, item["name"].get<std::string>()));
  if (parsed.has("--json")) printJson(item);
  return kDone;
}

int add(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {"--colour", "--color", "--focus"}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 1) {
    complain(i18n::text(language, "cli.categories.usage"));
    return kBadUsage;
  }
  CategoryCatalog& catalog = session.services().categories();
  const std::string name = trimmed(parsed->positional.front());
  if (name.empty()) {
    complain(i18n::text(language, "cli.categories.blankName"));
    return kFailed;
  }
  if (categoryNamed(catalog, name, language)) {
    complain(i18n::text(language, "cli.categories.exists %@", name));
    return kFailed;
  }
  // Without a choice, the next colour in the palette, as the pane picks it.
  const auto hues = offeredHueKeys();
  std::string colour(hues[catalog.allCategories().size() % hues.size()]);
  for (const char* option : {"--colour", "--color"}) {
    if (!parsed->values.contains(option)) continue;
    const auto chosen = colourNamed(parsed->values.at(option), language);
    if (!chosen) return kFailed;
    colour = *chosen;
  }
  FocusLabel focus = FocusLabel::neutral;
  if (parsed->values.contains("--focus")) {
    const auto chosen = focusNamed(parsed->values.at("--focus"), language);
    if (!chosen) return kFailed;
    focus = *chosen;
  }
  const CustomCategory made =
      catalog.addCustom(name, colour, "tag", focus, session.services().clock().now());
  return finish(session, UsageCategory::fromRaw(made.id), *parsed, "cli.categories.added %@");
}

int change(EditSession& session, const std::vector<std::string>& args, std::string_view what) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 2) {
    complain(i18n::text(language, "cli.categories.usage"));
    return kBadUsage;
  }
  const auto category = named(session, parsed->positional[0]);
  if (!category) return kFailed;
  CategoryCatalog& catalog = session.services().categories();
  const std::string& value = parsed->positional[1];
  if (what == "rename") {
    const std::string name = trimmed(value);
    if (name.empty()) {
      complain(i18n::text(language, "cli.categories.blankName"));
      return kFailed;
    }
    const auto taken = categoryNamed(catalog, name, language);
    if (taken && *taken != category->rawValue()) {
      complain(i18n::text(language, "cli.categories.exists %@", name));
      return kFailed;
    }
    catalog.change(*category, CategoryOverride{name, std::nullopt, std::nullopt});
  } else if (what == "recolor") {
    const auto colour = colourNamed(value, language);
    if (!colour) return kFailed;
    catalog.change(*category, CategoryOverride{std::nullopt, *colour, std::nullopt});
  } else {
    const auto focus = focusNamed(value, language);
    if (!focus) return kFailed;
    catalog.change(*category, CategoryOverride{std::nullopt, std::nullopt, *focus});
  }
  return finish(session, *category, *parsed, "cli.categories.changed %@");
}

int reset(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {"--json"});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 1) {
    complain(i18n::text(language, "cli.categories.usage"));
    return kBadUsage;
  }
  const auto category = named(session, parsed->positional[0]);
  if (!category) return kFailed;
  const auto builtIn = category->builtIn();
  if (!category->isBuiltIn() || !builtIn) {
    complain(i18n::text(language, "cli.categories.notBuiltIn %@", parsed->positional[0]));
    return kFailed;
  }
  session.services().categories().clearOverride(*builtIn);
  return finish(session, *category, *parsed, "cli.categories.reset %@");
}

int remove(EditSession& session, const std::vector<std::string>& args) {
  const std::string& language = session.language;
  const auto parsed = options(language, args, {}, {});
  if (!parsed) return kBadUsage;
  if (parsed->positional.size() != 1) {
    complain(i18n::text(language, "cli.categories.usage"));
    return kBadUsage;
  }
  const auto category = named(session, parsed->positional[0]);
  if (!category) return kFailed;
  if (category->isBuiltIn()) {
    complain(i18n::text(language, "cli.categories.builtIn %@", parsed->positional[0]));
    return kFailed;
  }
  CategoryCatalog& catalog = session.services().categories();
  const std::string name = catalog.effective(*category, language).name;
  if (!catalog.deleteCustom(category->customId())) {
    complain(i18n::text(language, "cli.unknownCategory %@", parsed->positional[0]));
    return kFailed;
  }
  complain(i18n::text(language, "cli.categories.removed %@", name));
  return kDone;
}

int run(const Invocation& invocation) {
  EditSession session(invocation.language);
  using Args = const std::vector<std::string>&;
  return runVerb(invocation,
                 {{"list", [&](Args args) { return list(session, args); }},
                  {"add", [&](Args args) { return add(session, args); }},
                  {"rename", [&](Args args) { return change(session, args, "rename"); }},
                  {"recolor", [&](Args args) { return change(session, args, "recolor"); }},
                  {"set-focus", [&](Args args) { return change(session, args, "focus"); }},
                  {"reset", [&](Args args) { return reset(session, args); }},
                  {"remove", [&](Args args) { return remove(session, args); }}},
                 "list", "cli.categories.usage");
}

const Registration registration(Command{"categories",
                                        "cli.categories.summary",
                                        "cli.categories.help",
                                        run,
                                        {"list", "add", "rename", "recolor", "set-focus", "reset",
                                         "remove", "--colour", "--focus", "--json"}});

}  // namespace

}  // namespace velto::cli
