#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/excluded_time.h"
#include "app/service_set.h"
#include "gui/settings/settings_panes.h"
#include "gui/shell/qt_text.h"
#include "reports/duration_text.h"

namespace velto::gui {

namespace {

class ExclusionsPane : public QWidget {
 public:
  explicit ExclusionsPane(PaneContext& context)
      : services_(context.services), lang_(context.language) {
    auto* layout = new QVBoxLayout(this);
    auto* intro = new QLabel(uiText(lang_, "settings.exclusions.intro"));
    intro->setWordWrap(true);
    layout->addWidget(intro);

    layout->addWidget(new QLabel(uiText(lang_, "settings.exclusions.apps")));
    apps_ = new QListWidget;
    apps_->setAccessibleName(uiText(lang_, "settings.exclusions.apps"));
    layout->addWidget(apps_, 1);
    auto* appRow = new QHBoxLayout;
    appInput_ = new QLineEdit;
    appInput_->setPlaceholderText(uiText(lang_, "settings.exclusions.appPlaceholder"));
    appInput_->setAccessibleName(uiText(lang_, "settings.exclusions.appPlaceholder"));
    auto* addApp = new QPushButton(uiText(lang_, "settings.add"));
    auto* removeApp = new QPushButton(uiText(lang_, "settings.remove"));
    connect(addApp, &QPushButton::clicked, this, [this] { addAppTyped(); });
    connect(appInput_, &QLineEdit::returnPressed, this, [this] { addAppTyped(); });
    connect(removeApp, &QPushButton::clicked, this, [this] {
      const int row = apps_->currentRow();
      const auto& apps = services_.exclusions().list().apps;
      if (row >= 0 && row < static_cast<int>(apps.size())) {
        services_.exclusions().removeApp(apps[static_cast<size_t>(row)].bundleId);
      }
    });
    appRow->addWidget(appInput_, 1);
    appRow->addWidget(addApp);
    appRow->addWidget(removeApp);
    layout->addLayout(appRow);

    layout->addWidget(new QLabel(uiText(lang_, "settings.exclusions.sites")));
    hosts_ = new QListWidget;
    hosts_->setAccessibleName(uiText(lang_, "settings.exclusions.sites"));
    layout->addWidget(hosts_, 1);
    auto* hostRow = new QHBoxLayout;
    hostInput_ = new QLineEdit;
    hostInput_->setPlaceholderText(QStringLiteral("example.com"));
    hostInput_->setAccessibleName(uiText(lang_, "settings.exclusions.sites"));
    auto* addHost = new QPushButton(uiText(lang_, "settings.add"));
    auto* removeHost = new QPushButton(uiText(lang_, "settings.remove"));
    connect(addHost, &QPushButton::clicked, this, [this] { addHostTyped(); });
    connect(hostInput_, &QLineEdit::returnPressed, this, [this] { addHostTyped(); });
    connect(removeHost, &QPushButton::clicked, this, [this] {
      const int row = hosts_->currentRow();
      const auto& hosts = services_.exclusions().list().hosts;
      if (row >= 0 && row < static_cast<int>(hosts.size())) {
        services_.exclusions().removeHost(hosts[static_cast<size_t>(row)]);
      }
    });
    hostRow->addWidget(hostInput_, 1);
    hostRow->addWidget(addHost);
    hostRow->addWidget(removeHost);
    layout->addLayout(hostRow);

    skipPrivate_ = new QCheckBox(uiText(lang_, "settings.exclusions.skipPrivate"));
    connect(skipPrivate_, &QCheckBox::toggled, this,
            [this](bool on) { services_.exclusions().setSkipPrivateWindows(on); });
    layout->addWidget(skipPrivate_);

    changes_ = services_.exclusions().subscribe([this] { reload(); });
    reload();
  }

 private:
  void reload() {
    const ExclusionList& list = services_.exclusions().list();
    apps_->clear();
    for (const ExcludedApp& app : list.apps) {
      apps_->addItem(qtext(app.name.empty() ? app.bundleId : app.name + " (" + app.bundleId + ")"));
    }
    hosts_->clear();
    for (const std::string& host : list.hosts) hosts_->addItem(qtext(host));
    const QSignalBlocker block(skipPrivate_);
    skipPrivate_->setChecked(list.skipPrivateWindows);
  }

  void addAppTyped() {
    const std::string bundleId = appInput_->text().trimmed().toStdString();
    if (bundleId.empty()) return;
    services_.exclusions().addApp(bundleId, bundleId);
    appInput_->clear();
    offerDeletion(
        recordedTimeOfApp(services_.store(), bundleId, services_.clock().now()), [this, bundleId] {
          (void)deleteRecordedTimeOfApp(services_.store(), bundleId, services_.clock().now());
        });
  }

  void addHostTyped() {
    const std::optional<std::string> host =
        services_.exclusions().addHost(hostInput_->text().toStdString());
    if (!host) return;
    hostInput_->clear();
    offerDeletion(
        recordedTimeOfHost(services_.store(), *host, services_.clock().now()), [this, host] {
          (void)deleteRecordedTimeOfHost(services_.store(), *host, services_.clock().now());
        });
  }

  // Time recorded before the exclusion stays unless the user says otherwise.
  void offerDeletion(const Result<ExcludedTime>& past, const std::function<void()>& remove) {
    if (!past || past->rows == 0) return;
    QMessageBox box(this);
    box.setText(uiText(lang_, "settings.exclusions.pastTime %@",
                       DurationText::forLanguage(lang_).format(past->seconds)));
    box.setInformativeText(uiText(lang_, "settings.exclusions.pastTime.detail"));
    QPushButton* go = box.addButton(uiText(lang_, "settings.delete"), QMessageBox::DestructiveRole);
    box.addButton(uiText(lang_, "settings.exclusions.keep"), QMessageBox::RejectRole);
    box.exec();
    if (box.clickedButton() == go) remove();
  }

  ServiceSet& services_;
  std::string lang_;
  QListWidget* apps_ = nullptr;
  QListWidget* hosts_ = nullptr;
  QLineEdit* appInput_ = nullptr;
  QLineEdit* hostInput_ = nullptr;
  QCheckBox* skipPrivate_ = nullptr;
  Subscription changes_;
};

}  // namespace

QWidget* makeExclusionsPane(PaneContext& context) {
  return new ExclusionsPane(context);
}

}  // namespace velto::gui
