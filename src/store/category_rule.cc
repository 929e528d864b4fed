#include "store/category_rule.h"

namespace velto {

std::string_view rawValue(CategoryRule::Subject subject) {
  switch (subject) {
    case CategoryRule::Subject::app:
      return "app";
    case CategoryRule::Subject::host:
      return "host";
    case CategoryRule::Subject::keyword:
      return "keyword";
  }
  return "app";
}

std::optional<CategoryRule::Subject> categoryRuleSubjectFromRaw(std::string_view raw) {
  for (auto subject :
       {CategoryRule::Subject::app, CategoryRule::Subject::host, CategoryRule::Subject::keyword}) {
    if (rawValue(subject) == raw) return subject;
  }
  return std::nullopt;
}

std::optional<CategoryRule::Subject> CategoryRule::subject() const {
  return categoryRuleSubjectFromRaw(subjectRaw);
}

}  // namespace velto
