// A user's rule filing an application, a site or a title word under a category. Stored beside
// the segments in the same database.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/time.h"
#include "base/uuid.h"

namespace velto {

struct CategoryRule {
  enum class Subject { app, host, keyword };

  Uuid id;
  std::string pattern;      // a bundle identifier, a host, or a word
  std::string subjectRaw;   // "app", "host" or "keyword"
  std::string categoryRaw;  // a built-in category's raw value or a custom category's id
  Instant createdAt;

  bool operator==(const CategoryRule&) const = default;

  // None when subjectRaw holds no known subject.
  std::optional<Subject> subject() const;
};

std::string_view rawValue(CategoryRule::Subject subject);
std::optional<CategoryRule::Subject> categoryRuleSubjectFromRaw(std::string_view raw);

}  // namespace velto
