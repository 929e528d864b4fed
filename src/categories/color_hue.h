// The colour palette of categories. Each hue has a light and a dark colour; which one is drawn
// follows the system appearance.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace velto {

struct Rgb {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;

  // "#RRGGBB", upper-case hex digits.
  std::string hex() const;
  bool operator==(const Rgb&) const = default;
};

struct ColorHue {
  std::string_view key;  // palette key, e.g. "indigo"
  Rgb light;             // drawn on light backgrounds
  Rgb dark;              // drawn on dark backgrounds
};

// The hue Other uses and the one shown for a category whose key is unknown or missing.
inline constexpr std::string_view kSlateHueKey = "slate";

// The keys a user may give their own categories, in the order the picker shows them. "slate"
// is not among them.
std::span<const std::string_view> offeredHueKeys();

// The palette entry for `key` (exact, lower-case); slate for a key that is not in the palette.
const ColorHue& colorHue(std::string_view key);
bool isPaletteKey(std::string_view key);

// "categories.colour." followed by the key: the localisation key of the hue's name.
std::string hueNameKey(std::string_view key);

}  // namespace velto
