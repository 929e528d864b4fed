#include "context/browser_tab.h"

#include "context/unicode_text.h"

namespace velto {

bool isPrivateWindowTitle(std::string_view title) {
  constexpr std::string_view kPhrases[] = {
      "private browsing", "privater modus",         "navegaci\u00f3n privada",
      "gizli gezinti",    "navigation priv\u00e9e", "(incognito)",
      "(inprivate)"};
  const std::string lower = text::lowerCased(title);
  for (std::string_view phrase : kPhrases) {
    if (lower.find(phrase) != std::string::npos) return true;
  }
  return false;
}

}  // namespace velto
