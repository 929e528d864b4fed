#include "categories/focus_label.h"

namespace velto {

std::string_view rawValue(FocusLabel label) {
  switch (label) {
    case FocusLabel::focus:
      return "focus";
    case FocusLabel::neutral:
      return "neutral";
    case FocusLabel::distracting:
      return "distracting";
  }
  return "neutral";
}

std::optional<FocusLabel> focusLabelFromRaw(std::string_view raw) {
  for (FocusLabel label : kFocusLabels) {
    if (rawValue(label) == raw) return label;
  }
  return std::nullopt;
}

std::string_view localisationKey(FocusLabel label) {
  switch (label) {
    case FocusLabel::focus:
      return "focus.label.focus";
    case FocusLabel::neutral:
      return "focus.label.neutral";
    case FocusLabel::distracting:
      return "focus.label.distracting";
  }
  return "focus.label.neutral";
}

}  // namespace velto
