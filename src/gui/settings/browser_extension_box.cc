#include "gui/settings/browser_extension_box.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "base/strings.h"
#include "gui/shell/qt_text.h"
#include "platform/linux/browser_extension_setup.h"

namespace velto::gui {

namespace {

// "Connected: Chromium, Firefox", or that none is.
QString connectedText(const std::string& lang) {
  std::string names;
  for (const NativeHostBrowser* browser : browsersWithVeltoHost(currentUserFolders())) {
    if (!names.empty()) names += ", ";
    names += browser->name;
  }
  return names.empty() ? uiText(lang, "settings.permissions.browserExtension.none")
                       : uiText(lang, "settings.permissions.browserExtension.connected %@", names);
}

// What an install or removal did, one line per problem, else the follow-up step.
QString outcomeText(const std::string& lang, const platform::BrowserSetupResult& result,
                    const std::string& nextKey, const std::string& nextArgument) {
  if (result.errorKey) {
    return uiText(lang, *result.errorKey, result.errorArgument, result.errorDetail);
  }
  QStringList lines;
  for (const platform::BrowserManifestChange& change : result.changes) {
    if (!change.status) {
      lines << uiText(lang, "browser.install.failed %@ %@", change.manifest.string(),
                      change.status.error());
    }
  }
  lines << uiText(lang, nextKey, nextArgument);
  return lines.join(QStringLiteral("\n"));
}

}  // namespace

QWidget* makeBrowserExtensionBox(const std::string& language, std::filesystem::path program) {
  auto* box = new QWidget;
  box->setObjectName(QStringLiteral("browserExtension"));
  auto* column = new QVBoxLayout(box);
  column->setContentsMargins(0, 0, 0, 0);
  auto* covered = new QLabel(uiText(language, "settings.permissions.browserExtension.detail"));
  covered->setWordWrap(true);
  column->addWidget(covered);
  auto* connected = new QLabel(connectedText(language));
  connected->setObjectName(QStringLiteral("browserExtensionConnected"));
  connected->setWordWrap(true);
  column->addWidget(connected);
  auto* outcome = new QLabel;
  outcome->setObjectName(QStringLiteral("browserExtensionOutcome"));
  outcome->setWordWrap(true);
  outcome->setTextInteractionFlags(Qt::TextSelectableByMouse);
  outcome->hide();
  auto* buttons = new QHBoxLayout;
  auto* install = new QPushButton(uiText(language, "settings.permissions.browserExtension"));
  auto* remove = new QPushButton(uiText(language, "settings.permissions.browserExtension.remove"));
  buttons->addWidget(install);
  buttons->addWidget(remove);
  buttons->addStretch(1);
  column->addLayout(buttons);
  column->addWidget(outcome);

  QObject::connect(install, &QPushButton::clicked, box, [language, program, connected, outcome] {
    const UserFolders folders = currentUserFolders();
    const auto browsers = platform::usedBrowsers(folders);
    if (browsers.empty()) {
      outcome->setText(uiText(language, "browser.install.noneFound"));
    } else {
      outcome->setText(outcomeText(language,
                                   platform::installBrowserExtension(
                                       browsers, platform::browserHostProgram(program), folders),
                                   "browser.install.extension %@",
                                   platform::browserExtensionFolder().string()));
    }
    outcome->show();
    connected->setText(connectedText(language));
  });
  QObject::connect(remove, &QPushButton::clicked, box, [language, connected, outcome] {
    outcome->setText(outcomeText(language,
                                 platform::uninstallBrowserExtension(currentUserFolders()),
                                 "browser.uninstall.extension", {}));
    outcome->show();
    connected->setText(connectedText(language));
  });
  return box;
}

}  // namespace velto::gui
