// How a known application is treated by the context rules: its family, and the title strategy
// that pulls a name out of its window titles.
#pragma once

#include <optional>
#include <string_view>

namespace velto {

enum class AppFamily { browser, terminal, editor, chat, document, media };

enum class TitleStrategy { ignore, leading, trailing, chat, terminal };

std::string_view rawValue(AppFamily family);
std::optional<AppFamily> appFamilyFromRaw(std::string_view raw);

std::string_view rawValue(TitleStrategy strategy);
std::optional<TitleStrategy> titleStrategyFromRaw(std::string_view raw);

}  // namespace velto
