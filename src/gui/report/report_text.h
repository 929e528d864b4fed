// Catalog texts and durations as QStrings for the report's widgets.
// Thread: main thread.
#pragma once

#include <QString>
#include <string>
#include <string_view>

#include "base/strings.h"
#include "reports/duration_text.h"

namespace velto::gui {

inline QString qs(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::string utf8(const QString& text) {
  return text.toStdString();
}

template <typename... Args>
QString uiText(std::string_view language, std::string_view key, const Args&... args) {
  return qs(i18n::text(language, key, args...));
}

inline QString durationText(std::string_view language, double seconds) {
  return qs(DurationText::forLanguage(language).format(seconds));
}

}  // namespace velto::gui
