#include "limits/usage_limit.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/iso8601.h"
#include "base/raw_values.h"
#include "base/strings.h"
#include "categories/category_catalog.h"
#include "categories/text_case.h"

namespace velto {

namespace {

constexpr std::array<std::string_view, 2> kKinds = {"limit", "goal"};
constexpr std::array<std::string_view, 2> kSpans = {"day", "week"};
constexpr std::array<std::string_view, 4> kSubjectKinds = {"category", "app", "host", "total"};

}  // namespace

std::string_view rawValue(UsageLimit::Kind kind) {
  return kKinds[static_cast<size_t>(kind)];
}
std::string_view rawValue(UsageLimit::Span span) {
  return kSpans[static_cast<size_t>(span)];
}
std::string_view rawValue(UsageLimit::Subject::Kind kind) {
  return kSubjectKinds[static_cast<size_t>(kind)];
}
std::optional<UsageLimit::Kind> limitKindFromRaw(std::string_view raw) {
  return enumFromRaw<UsageLimit::Kind>(kKinds, raw);
}
std::optional<UsageLimit::Span> limitSpanFromRaw(std::string_view raw) {
  return enumFromRaw<UsageLimit::Span>(kSpans, raw);
}
std::optional<UsageLimit::Subject::Kind> subjectKindFromRaw(std::string_view raw) {
  return enumFromRaw<UsageLimit::Subject::Kind>(kSubjectKinds, raw);
}

std::string UsageLimit::Subject::key() const {
  switch (kind) {
    case Kind::category:
      return "category:" + value;
    case Kind::app:
      return "app:" + lowerCased(value);
    case Kind::host:
      return "host:" + lowerCased(value);
    case Kind::total:
      return "total";
  }
  return "total";
}

std::string ruleKey(UsageLimit::Kind kind, UsageLimit::Span span,
                    const UsageLimit::Subject& subject) {
  return std::string(rawValue(kind)) + ":" + std::string(rawValue(span)) + ":" + subject.key();
}

std::string UsageLimit::ruleKey() const {
  return velto::ruleKey(kind, span, subject);
}

nlohmann::json toJson(const UsageLimit& limit) {
  nlohmann::json subject = {{"kind", rawValue(limit.subject.kind)},
                            {"value", limit.subject.value},
                            {"name", limit.subject.name}};
  nlohmann::json json = nlohmann::json::object();
  json["id"] = limit.id.toString();
  json["subject"] = std::move(subject);
  json["secondsPerDay"] = limit.secondsPerDay;
  json["isEnabled"] = limit.isEnabled;
  json["createdAt"] = secondsSince2001(limit.createdAt);
  json["kind"] = rawValue(limit.kind);
  json["span"] = rawValue(limit.span);
  return json;
}

namespace {

const nlohmann::json* member(const nlohmann::json& json, const char* key) {
  auto found = json.find(key);
  return found == json.end() ? nullptr : &*found;
}

Error missing(const char* key) {
  return Error{std::string("missing or invalid \"") + key + "\""};
}

}  // namespace

Result<UsageLimit> usageLimitFromJson(const nlohmann::json& json) {
  if (!json.is_object()) return Error{"a rule is not an object"};
  UsageLimit limit;
  const nlohmann::json* id = member(json, "id");
  std::optional<Uuid> parsed =
      id && id->is_string() ? Uuid::parse(id->get<std::string>()) : std::nullopt;
  if (!parsed) return missing("id");
  limit.id = *parsed;

  const nlohmann::json* subject = member(json, "subject");
  if (!subject || !subject->is_object()) return missing("subject");
  const nlohmann::json* subjectKind = member(*subject, "kind");
  std::optional<UsageLimit::Subject::Kind> kind =
      subjectKind && subjectKind->is_string() ? subjectKindFromRaw(subjectKind->get<std::string>())
                                              : std::nullopt;
  if (!kind) return missing("subject.kind");
  limit.subject.kind = *kind;
  if (const nlohmann::json* value = member(*subject, "value")) {
    if (!value->is_string()) return missing("subject.value");
    limit.subject.value = value->get<std::string>();
  }
  if (const nlohmann::json* name = member(*subject, "name")) {
    if (!name->is_string()) return missing("subject.name");
    limit.subject.name = name->get<std::string>();
  }
  if (limit.subject.kind != UsageLimit::Subject::Kind::total && limit.subject.value.empty()) {
    return missing("subject.value");
  }

  const nlohmann::json* seconds = member(json, "secondsPerDay");
  if (!seconds || !seconds->is_number()) return missing("secondsPerDay");
  limit.secondsPerDay = seconds->get<double>();
  const nlohmann::json* enabled = member(json, "isEnabled");
  if (!enabled || !enabled->is_boolean()) return missing("isEnabled");
  limit.isEnabled = enabled->get<bool>();
  const nlohmann::json* created = member(json, "createdAt");
  std::optional<Instant> createdAt =
      created && created->is_number() ? instantFromSecondsSince2001Checked(created->get<double>())
                                      : std::nullopt;
  if (!createdAt) return missing("createdAt");
  limit.createdAt = *createdAt;

  if (const nlohmann::json* k = member(json, "kind")) {
    std::optional<UsageLimit::Kind> value =
        k->is_string() ? limitKindFromRaw(k->get<std::string>()) : std::nullopt;
    if (!value) return missing("kind");
    limit.kind = *value;
  }
  if (const nlohmann::json* s = member(json, "span")) {
    std::optional<UsageLimit::Span> value =
        s->is_string() ? limitSpanFromRaw(s->get<std::string>()) : std::nullopt;
    if (!value) return missing("span");
    limit.span = *value;
  }
  return limit;
}

std::string displayName(const UsageLimit::Subject& subject, const CategoryCatalog* catalog,
                        std::string_view language) {
  switch (subject.kind) {
    case UsageLimit::Subject::Kind::category:
      if (catalog != nullptr) {
        return catalog->effective(UsageCategory::fromRaw(subject.value), language).name;
      }
      return subject.value;
    case UsageLimit::Subject::Kind::app:
      return subject.name.empty() ? subject.value : subject.name;
    case UsageLimit::Subject::Kind::host:
      return subject.value;
    case UsageLimit::Subject::Kind::total:
      return i18n::text(language, "limits.subject.total");
  }
  return subject.value;
}

}  // namespace velto
