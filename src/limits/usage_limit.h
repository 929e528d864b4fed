// A limit (time to stay under) or goal (time to reach) on everything recorded, a category, an
// application or a site, per day or per calendar week. Rules never block anything.
//
// Stored as a JSON array under "velto.limits"; dates as seconds since 2001-01-01 UTC. One rule
// per rule key ("goal:week:category:reading", "limit:day:total", "limit:day:app:code").
#pragma once

#include <array>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "base/result.h"
#include "base/time.h"
#include "base/uuid.h"

namespace velto {

class CategoryCatalog;

struct UsageLimit {
  enum class Kind { limit, goal };
  enum class Span { day, week };

  struct Subject {
    enum class Kind { category, app, host, total };
    Kind kind = Kind::total;
    std::string value;  // category id, bundle identifier or host; empty for total
    std::string name;   // an application's display name

    static Subject category(std::string id) { return {Kind::category, std::move(id), {}}; }
    static Subject app(std::string bundleId, std::string name) {
      return {Kind::app, std::move(bundleId), std::move(name)};
    }
    static Subject host(std::string host) { return {Kind::host, std::move(host), {}}; }
    static Subject total() { return {}; }

    // "category:<id>", "app:<bundle id>", "host:<host>" or "total"; app and host lower-cased.
    std::string key() const;
    bool operator==(const Subject&) const = default;
  };

  Uuid id;
  Subject subject;
  double secondsPerDay = 0;  // the amount per span (per week for a week rule)
  bool isEnabled = true;
  Instant createdAt;
  Kind kind = Kind::limit;
  Span span = Span::day;

  bool operator==(const UsageLimit&) const = default;

  // "<kind>:<span>:<subject key>".
  std::string ruleKey() const;
};

std::string ruleKey(UsageLimit::Kind kind, UsageLimit::Span span,
                    const UsageLimit::Subject& subject);

std::string_view rawValue(UsageLimit::Kind kind);
std::string_view rawValue(UsageLimit::Span span);
std::string_view rawValue(UsageLimit::Subject::Kind kind);
std::optional<UsageLimit::Kind> limitKindFromRaw(std::string_view raw);
std::optional<UsageLimit::Span> limitSpanFromRaw(std::string_view raw);
std::optional<UsageLimit::Subject::Kind> subjectKindFromRaw(std::string_view raw);

nlohmann::json toJson(const UsageLimit& limit);
// A missing "kind" reads as a limit and a missing "span" as a day rule; an unknown value of
// either, or a missing required field, is an error naming the field.
Result<UsageLimit> usageLimitFromJson(const nlohmann::json& json);

// What the subject is called on screen: the category's name (from `catalog`, in `language`),
// the application's name (its bundle identifier when the name is empty), the host, or the
// catalog text "limits.subject.total".
std::string displayName(const UsageLimit::Subject& subject, const CategoryCatalog* catalog,
                        std::string_view language);

}  // namespace velto
