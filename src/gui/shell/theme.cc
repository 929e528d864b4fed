#include "gui/shell/theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>

namespace velto::gui {

namespace {

QPalette darkPalette() {
  QPalette p;
  const QColor window(0x24, 0x27, 0x2b), base(0x1b, 0x1d, 0x21), text(0xe8, 0xea, 0xed);
  p.setColor(QPalette::Window, window);
  p.setColor(QPalette::WindowText, text);
  p.setColor(QPalette::Base, base);
  p.setColor(QPalette::AlternateBase, window);
  p.setColor(QPalette::ToolTipBase, base);
  p.setColor(QPalette::ToolTipText, text);
  p.setColor(QPalette::Text, text);
  p.setColor(QPalette::Button, QColor(0x30, 0x34, 0x39));
  p.setColor(QPalette::ButtonText, text);
  p.setColor(QPalette::Highlight, QColor(0x4c, 0x8d, 0xf6));
  p.setColor(QPalette::HighlightedText, Qt::white);
  p.setColor(QPalette::PlaceholderText, QColor(0x9a, 0xa0, 0xa6));
  p.setColor(QPalette::Disabled, QPalette::Text, QColor(0x80, 0x86, 0x8b));
  p.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x80, 0x86, 0x8b));
  p.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x80, 0x86, 0x8b));
  return p;
}

}  // namespace

void applyTheme(std::string_view theme) {
  static const QString sessionStyle = QApplication::style()->name();
  static const QPalette sessionPalette = QApplication::palette();
  if (theme == "dark" || theme == "light") {
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(theme == "dark" ? darkPalette()
                                             : QApplication::style()->standardPalette());
    return;
  }
  QApplication::setStyle(QStyleFactory::create(sessionStyle));
  QApplication::setPalette(sessionPalette);
}

}  // namespace velto::gui
