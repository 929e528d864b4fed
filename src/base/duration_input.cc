#include "base/duration_input.h"

#include <cmath>

namespace velto {

namespace {

constexpr double kLongest = 366.0 * 24 * 3600;

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

}  // namespace

std::optional<double> parseDuration(std::string_view text) {
  double total = 0;
  int lastRank = 0;  // of the last unit: 3 hours, 2 minutes, 1 seconds
  bool sawPart = false;
  size_t at = 0;
  auto skipBlanks = [&] {
    while (at < text.size() && isBlank(text[at])) ++at;
  };
  skipBlanks();
  while (at < text.size()) {
    const size_t first = at;
    while (at < text.size() && isDigit(text[at])) ++at;
    if (at == first || at - first > 7) return std::nullopt;
    double value = 0;
    for (size_t i = first; i < at; ++i) value = value * 10 + (text[i] - '0');
    if (at == text.size() || isBlank(text[at])) {
      // A bare number is minutes, and only on its own ("1h30" is ambiguous).
      skipBlanks();
      if (sawPart || at != text.size()) return std::nullopt;
      total = value * 60;
      sawPart = true;
      break;
    }
    int rank = 0;
    double unit = 0;
    switch (text[at]) {
      case 'h':
        rank = 3;
        unit = 3600;
        break;
      case 'm':
        rank = 2;
        unit = 60;
        break;
      case 's':
        rank = 1;
        unit = 1;
        break;
      default:
        return std::nullopt;
    }
    ++at;
    if (lastRank != 0 && rank >= lastRank) return std::nullopt;  // repeated or out of order
    lastRank = rank;
    sawPart = true;
    total += value * unit;
    skipBlanks();
  }
  if (!sawPart || !(total > 0) || total > kLongest) return std::nullopt;
  return total;
}

std::string durationInputText(double seconds) {
  const long long whole = std::llround(seconds);
  if (whole <= 0) return "0s";
  const long long hours = whole / 3600;
  const long long minutes = whole % 3600 / 60;
  const long long rest = whole % 60;
  std::string text;
  if (hours > 0) text += std::to_string(hours) + "h";
  if (minutes > 0) text += std::to_string(minutes) + "m";
  if (rest > 0) text += std::to_string(rest) + "s";
  return text;
}

}  // namespace velto
