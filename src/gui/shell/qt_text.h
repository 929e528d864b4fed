// Catalog texts as Qt strings, in the services' interface language.
#pragma once

#include <QString>

#include "base/strings.h"

namespace velto::gui {

inline QString qtext(const std::string& text) {
  return QString::fromStdString(text);
}

template <typename... Args>
QString uiText(std::string_view language, std::string_view key, const Args&... args) {
  return QString::fromStdString(i18n::text(language, key, args...));
}

}  // namespace velto::gui
