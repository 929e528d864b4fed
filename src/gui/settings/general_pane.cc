#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "app/service_set.h"
#include "base/log.h"
#include "gui/settings/general_settings.h"
#include "gui/settings/settings_panes.h"
#include "gui/shell/qt_text.h"

namespace velto::gui {

namespace {

class GeneralPane : public QWidget {
 public:
  explicit GeneralPane(PaneContext& context)
      : model_(context.services, context.loginStart), lang_(context.language) {
    auto* form = new QFormLayout(this);

    retention_ = new QComboBox;
    for (int days : kRetentionDayChoices) {
      retention_->addItem(
          uiText(lang_, "settings.general.retention.days %lld", std::to_string(days)), days);
    }
    retention_->addItem(uiText(lang_, "settings.general.retention.forever"), 0);
    showRetention();
    connect(retention_, &QComboBox::activated, this, [this](int index) { chooseRetention(index); });
    form->addRow(uiText(lang_, "settings.general.retention"), retention_);

    auto* idle = new QSpinBox;
    idle->setRange(1, 60);
    idle->setSuffix(uiText(lang_, "settings.minutesSuffix"));
    idle->setValue(model_.idleMinutes());
    connect(idle, &QSpinBox::valueChanged, this, [this](int v) { model_.setIdleMinutes(v); });
    form->addRow(uiText(lang_, "settings.general.idle"), idle);

    auto* away = new QSpinBox;
    away->setRange(0, 240);
    away->setSuffix(uiText(lang_, "settings.minutesSuffix"));
    away->setSpecialValueText(uiText(lang_, "settings.off"));
    away->setValue(model_.awayPromptMinutes());
    connect(away, &QSpinBox::valueChanged, this, [this](int v) { model_.setAwayPromptMinutes(v); });
    form->addRow(uiText(lang_, "settings.general.awayPrompt"), away);

    auto* language = new QComboBox;
    for (std::string_view code : kLanguages) {
      language->addItem(uiText(lang_, "settings.language." + std::string(code)),
                        QString::fromUtf8(code.data(), static_cast<int>(code.size())));
    }
    language->setCurrentIndex(language->findData(qtext(model_.language())));
    connect(language, &QComboBox::activated, this, [this, language](int index) {
      model_.setLanguage(language->itemData(index).toString().toStdString());
    });
    form->addRow(uiText(lang_, "settings.general.language"), language);

    auto* theme = new QComboBox;
    for (std::string_view code : kThemes) {
      theme->addItem(uiText(lang_, "settings.theme." + std::string(code)),
                     QString::fromUtf8(code.data(), static_cast<int>(code.size())));
    }
    theme->setCurrentIndex(theme->findData(qtext(model_.theme())));
    connect(theme, &QComboBox::activated, this, [this, theme](int index) {
      model_.setTheme(theme->itemData(index).toString().toStdString());
    });
    form->addRow(uiText(lang_, "settings.general.theme"), theme);

    login_ = new QCheckBox(uiText(lang_, "settings.general.launchAtLogin"));
    loginMode_ = new QComboBox;
    for (LoginStart way : {LoginStart::autostart, LoginStart::service}) {
      const std::string raw(rawValue(way));
      loginMode_->addItem(uiText(lang_, "settings.general.launchAtLoginMode." + raw), qtext(raw));
    }
    showLoginStart();
    connect(login_, &QCheckBox::toggled, this, [this](bool) { chooseLoginStart(); });
    connect(loginMode_, &QComboBox::activated, this, [this](int) { chooseLoginStart(); });
    form->addRow(QString(), login_);
    form->addRow(uiText(lang_, "settings.general.launchAtLoginMode"), loginMode_);
    addWrittenSummary(form);

    auto* wipe = new QPushButton(uiText(lang_, "settings.general.deleteAll"));
    connect(wipe, &QPushButton::clicked, this, [this] { confirmWipe(); });
    auto* wipeDetail = new QLabel(uiText(lang_, "settings.general.deleteAll.detail"));
    wipeDetail->setWordWrap(true);
    form->addRow(QString(), wipe);
    form->addRow(QString(), wipeDetail);
  }

 private:
  // Shows what the session holds: the box on when the entry or the unit is there, the choice of
  // way from the settings (so turning the box on again keeps the way chosen before).
  void showLoginStart() {
    const LoginStart now = model_.launchAtLogin();
    const QSignalBlocker blockBox(login_);
    const QSignalBlocker blockMode(loginMode_);
    login_->setChecked(now != LoginStart::off);
    const LoginStart way = now != LoginStart::off
                               ? now
                               : (model_.launchAtLoginMode() == "service" ? LoginStart::service
                                                                          : LoginStart::autostart);
    loginMode_->setCurrentIndex(loginMode_->findData(qtext(std::string(rawValue(way)))));
    loginMode_->setEnabled(login_->isChecked());
  }

  void chooseLoginStart() {
    const LoginStart wanted = !login_->isChecked() ? LoginStart::off
                              : loginMode_->currentData().toString() == QStringLiteral("service")
                                  ? LoginStart::service
                                  : LoginStart::autostart;
    if (Status done = model_.setLaunchAtLogin(wanted); !done) {
      log::error("Could not change launch at login: %{public}s", done.error());
      QMessageBox::warning(this, uiText(lang_, "settings.general.launchAtLogin"),
                           uiText(lang_, "settings.general.launchAtLogin.failed %@", done.error()));
    }
    showLoginStart();
  }

  // The switch, its description, and the model's address with its own description and the
  // reason an address was refused. The address is stored when editing ends; a refused one is
  // not stored and stays in the field with its reason until it is changed.
  void addWrittenSummary(QFormLayout* form) {
    auto* offer = new QCheckBox(uiText(lang_, "settings.general.writtenSummary"));
    offer->setChecked(model_.writtenSummary());
    form->addRow(QString(), offer);
    form->addRow(QString(), description(uiText(lang_, "settings.general.writtenSummary.detail")));

    address_ = new QLineEdit(qtext(model_.modelAddress()));
    address_->setPlaceholderText(uiText(lang_, "settings.general.modelAddress.placeholder"));
    address_->setClearButtonEnabled(true);
    address_->setAccessibleName(uiText(lang_, "settings.general.modelAddress"));
    form->addRow(uiText(lang_, "settings.general.modelAddress"), address_);
    addressProblem_ = description({});
    addressProblem_->setObjectName(QStringLiteral("modelAddressProblem"));
    QPalette warning = addressProblem_->palette();
    const bool dark = warning.color(QPalette::Window).lightness() < 128;
    warning.setColor(QPalette::WindowText,
                     dark ? QColor(0xff, 0x7b, 0x6e) : QColor(0xb0, 0x2a, 0x1e));
    addressProblem_->setPalette(warning);
    addressProblem_->hide();
    form->addRow(QString(), addressProblem_);
    form->addRow(QString(), description(uiText(lang_, "settings.general.modelAddress.detail")));

    address_->setEnabled(offer->isChecked());
    connect(offer, &QCheckBox::toggled, this, [this](bool on) {
      model_.setWrittenSummary(on);
      address_->setEnabled(on);
    });
    connect(address_, &QLineEdit::editingFinished, this, [this] {
      const Status stored = model_.setModelAddress(address_->text().toStdString());
      addressProblem_->setText(stored ? QString() : qtext(stored.error()));
      addressProblem_->setVisible(!stored);
    });
  }

  QLabel* description(const QString& text) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
  }

  void showRetention() {
    const RetentionChoice now = model_.retention();
    const int index = retention_->findData(now.value_or(0));
    retention_->setCurrentIndex(index >= 0 ? index : 1);
  }

  void chooseRetention(int index) {
    const int days = retention_->itemData(index).toInt();
    const RetentionChoice choice = days > 0 ? RetentionChoice(days) : std::nullopt;
    if (model_.shortens(choice)) {
      QMessageBox box(this);
      box.setIcon(QMessageBox::Warning);
      box.setText(qtext(model_.confirmationText(choice)));
      box.setInformativeText(uiText(lang_, "settings.general.retention.confirm.detail"));
      QPushButton* go =
          box.addButton(uiText(lang_, "settings.delete"), QMessageBox::DestructiveRole);
      box.addButton(QMessageBox::Cancel);
      box.exec();
      if (box.clickedButton() != go) {
        showRetention();
        return;
      }
    }
    model_.setRetention(choice);
  }

  void confirmWipe() {
    QMessageBox box(this);
    box.setIcon(QMessageBox::Warning);
    box.setText(uiText(lang_, "settings.general.deleteAll"));
    box.setInformativeText(uiText(lang_, "settings.general.deleteAll.detail"));
    QPushButton* go = box.addButton(uiText(lang_, "settings.delete"), QMessageBox::DestructiveRole);
    box.addButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() == go) (void)model_.deleteAllData();
  }

  GeneralSettings model_;
  std::string lang_;
  QComboBox* retention_ = nullptr;
  QCheckBox* login_ = nullptr;
  QComboBox* loginMode_ = nullptr;
  QLineEdit* address_ = nullptr;
  QLabel* addressProblem_ = nullptr;
};

}  // namespace

QWidget* makeGeneralPane(PaneContext& context) {
  return new GeneralPane(context);
}

}  // namespace velto::gui
