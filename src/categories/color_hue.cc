#include "categories/color_hue.h"

#include <array>
#include <cstdio>

namespace velto {

namespace {

constexpr Rgb rgb(std::uint32_t value) {
  return Rgb{static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
             static_cast<std::uint8_t>(value)};
}

// Light colours are dark enough for white text and thin chart strokes on a light window; dark
// colours are their brighter counterparts for a dark window.
constexpr std::array<ColorHue, 16> kPalette = {{
    {"brown", rgb(0x8B5E3C), rgb(0xC8996E)},
    {"gold", rgb(0xB08900), rgb(0xE8C547)},
    {"emerald", rgb(0x059669), rgb(0x34D399)},
    {"pink", rgb(0xDB2777), rgb(0xF472B6)},
    {"cyan", rgb(0x0891B2), rgb(0x22D3EE)},
    {"orange", rgb(0xEA580C), rgb(0xFB923C)},
    {"lime", rgb(0x65A30D), rgb(0xA3E635)},
    {"violet", rgb(0x7C3AED), rgb(0xA78BFA)},
    {"sky", rgb(0x0284C7), rgb(0x38BDF8)},
    {"amber", rgb(0xD97706), rgb(0xFBBF24)},
    {"rose", rgb(0xE11D48), rgb(0xFB7185)},
    {"teal", rgb(0x0D9488), rgb(0x2DD4BF)},
    {"plum", rgb(0x8E4585), rgb(0xC98BC0)},
    {"green", rgb(0x16A34A), rgb(0x4ADE80)},
    {"indigo", rgb(0x4F46E5), rgb(0x818CF8)},
    {"slate", rgb(0x64748B), rgb(0x94A3B8)},
}};

constexpr std::array<std::string_view, 15> kOffered = {
    "brown", "gold",  "emerald", "pink", "cyan", "orange", "lime",  "violet",
    "sky",   "amber", "rose",    "teal", "plum", "green",  "indigo"};

}  // namespace

std::string Rgb::hex() const {
  char text[8];
  std::snprintf(text, sizeof text, "#%02X%02X%02X", red, green, blue);
  return text;
}

std::span<const std::string_view> offeredHueKeys() {
  return kOffered;
}

const ColorHue& colorHue(std::string_view key) {
  for (const ColorHue& hue : kPalette) {
    if (hue.key == key) return hue;
  }
  return kPalette.back();
}

bool isPaletteKey(std::string_view key) {
  for (const ColorHue& hue : kPalette) {
    if (hue.key == key) return true;
  }
  return false;
}

std::string hueNameKey(std::string_view key) {
  return "categories.colour." + std::string(key);
}

}  // namespace velto
