// Where a category's time counts in the focus split of reports and the menu bar.
#pragma once

#include <optional>
#include <string_view>

namespace velto {

enum class FocusLabel { focus, neutral, distracting };

inline constexpr FocusLabel kFocusLabels[] = {FocusLabel::focus, FocusLabel::neutral,
                                              FocusLabel::distracting};

// "focus", "neutral", "distracting": the stored coded values.
std::string_view rawValue(FocusLabel label);
// None for anything but the three raw values (compared exactly).
std::optional<FocusLabel> focusLabelFromRaw(std::string_view raw);
// The localisation key of the label's name, "focus.label." followed by the raw value.
std::string_view localisationKey(FocusLabel label);

}  // namespace velto
