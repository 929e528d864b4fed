#include <QCheckBox>
#include <QLabel>
#include <QVBoxLayout>

#include "app/service_set.h"
#include "gui/settings/browser_extension_box.h"
#include "gui/settings/settings_panes.h"
#include "gui/shell/qt_text.h"

namespace velto::gui {

QWidget* makePermissionsPane(PaneContext& context) {
  Settings& settings = context.services.settings();
  const std::string& lang = context.language;
  auto* pane = new QWidget;
  auto* layout = new QVBoxLayout(pane);
  auto* heading = new QLabel(uiText(lang, "settings.permissions.sources"));
  QFont bold = heading->font();
  bold.setBold(true);
  heading->setFont(bold);
  layout->addWidget(heading);
  if (!context.backend.empty() || !context.backendReasonKey.empty()) {
    const std::string backend = !context.backend.empty()
                                    ? context.backend
                                    : i18n::text(lang, "status.value.noBackend %@",
                                                 i18n::text(lang, context.backendReasonKey));
    auto* backendLine = new QLabel(uiText(lang, "settings.permissions.backend %@", backend));
    backendLine->setWordWrap(true);
    layout->addWidget(backendLine);
  }
  if (context.missingSourceKeys.empty()) {
    layout->addWidget(new QLabel(uiText(lang, "settings.permissions.allWorking")));
  }
  for (const std::string& key : context.missingSourceKeys) {
    auto* line = new QLabel(QStringLiteral("• ") + uiText(lang, key));
    line->setWordWrap(true);
    layout->addWidget(line);
  }
  layout->addWidget(new QLabel(context.notificationServer
                                   ? uiText(lang, "settings.permissions.notificationsOn")
                                   : uiText(lang, "settings.permissions.notificationsOff")));

  auto* browserHeading = new QLabel(uiText(lang, "settings.permissions.browser"));
  browserHeading->setFont(bold);
  layout->addSpacing(12);
  layout->addWidget(browserHeading);
  auto* explain = new QLabel(uiText(lang, "settings.permissions.browser.detail"));
  explain->setWordWrap(true);
  layout->addWidget(explain);
  auto* optIn = new QCheckBox(uiText(lang, "onboarding.browser.optIn"));
  optIn->setChecked(settings.accessibilityRequested());
  QObject::connect(optIn, &QCheckBox::toggled, pane,
                   [&settings](bool on) { settings.setAccessibilityRequested(on); });
  layout->addWidget(optIn);
  layout->addSpacing(6);
  layout->addWidget(makeBrowserExtensionBox(lang, context.loginStart.program));
  auto* detail = new QCheckBox(uiText(lang, "settings.permissions.detailCapture"));
  detail->setChecked(settings.detailCaptureEnabled());
  QObject::connect(detail, &QCheckBox::toggled, pane,
                   [&settings](bool on) { settings.setDetailCaptureEnabled(on); });
  layout->addWidget(detail);
  layout->addStretch(1);
  return pane;
}

}  // namespace velto::gui
