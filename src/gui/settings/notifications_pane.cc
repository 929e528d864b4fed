#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>
#include <cmath>
#include <functional>

#include "app/service_set.h"
#include "gui/settings/settings_panes.h"
#include "gui/shell/qt_text.h"

namespace velto::gui {

namespace {

QCheckBox* toggle(const QString& text, bool on, QWidget* owner, std::function<void(bool)> set) {
  auto* box = new QCheckBox(text);
  box->setChecked(on);
  QObject::connect(box, &QCheckBox::toggled, owner, std::move(set));
  return box;
}

// The line under a switch that says what it does.
QLabel* description(const QString& text) {
  auto* label = new QLabel(text);
  label->setWordWrap(true);
  label->setForegroundRole(QPalette::PlaceholderText);
  label->setContentsMargins(22, 0, 0, 4);
  return label;
}

}  // namespace

QWidget* makeNotificationsPane(PaneContext& context) {
  Settings& settings = context.services.settings();
  const std::string& lang = context.language;
  auto* pane = new QWidget;
  auto* form = new QFormLayout(pane);

  if (!context.notificationServer) {
    auto* hint = new QLabel(uiText(lang, "settings.notifications.permissionHint"));
    hint->setWordWrap(true);
    form->addRow(hint);
  }
  form->addRow(toggle(uiText(lang, "settings.notifications.limitAlerts"),
                      settings.limitAlertsEnabled(), pane,
                      [&settings](bool on) { settings.setLimitAlertsEnabled(on); }));
  form->addRow(toggle(uiText(lang, "settings.notifications.goalAlerts"),
                      settings.goalAlertsEnabled(), pane,
                      [&settings](bool on) { settings.setGoalAlertsEnabled(on); }));

  auto* warn = new QComboBox;
  warn->addItem(uiText(lang, "settings.notifications.warn.never"), 0.0);
  for (double ratio : {0.75, 0.8, 0.9}) {
    warn->addItem(uiText(lang, "settings.notifications.warn.at %lld",
                         std::to_string(std::lround(ratio * 100))),
                  ratio);
  }
  const double current = settings.limitWarnRatio().value_or(0);
  int index = 0;
  for (int i = 0; i < warn->count(); ++i) {
    if (std::abs(warn->itemData(i).toDouble() - current) < 1e-6) index = i;
  }
  warn->setCurrentIndex(index);
  QObject::connect(warn, &QComboBox::activated, pane, [&settings, warn](int i) {
    settings.setLimitWarnRatio(warn->itemData(i).toDouble());
  });
  form->addRow(uiText(lang, "settings.notifications.warnRatio"), warn);

  form->addRow(toggle(uiText(lang, "settings.notifications.dailySummary"),
                      settings.dailySummaryEnabled(), pane,
                      [&settings](bool on) { settings.setDailySummaryEnabled(on); }));
  form->addRow(description(uiText(lang, "settings.notifications.dailySummary.detail")));
  auto* dailyHour = new QSpinBox;
  dailyHour->setRange(15, 23);
  dailyHour->setSuffix(QStringLiteral(":00"));
  dailyHour->setValue(settings.dailySummaryHour());
  QObject::connect(dailyHour, &QSpinBox::valueChanged, pane,
                   [&settings](int hour) { settings.setDailySummaryHour(hour); });
  form->addRow(uiText(lang, "settings.notifications.dailySummaryHour"), dailyHour);

  form->addRow(toggle(uiText(lang, "settings.notifications.weeklyDigest"),
                      settings.weeklyDigestEnabled(), pane,
                      [&settings](bool on) { settings.setWeeklyDigestEnabled(on); }));
  form->addRow(description(uiText(lang, "settings.notifications.weeklyDigest.detail")));
  auto* weekday = new QComboBox;
  for (Weekday day = 1; day <= 7; ++day) {
    weekday->addItem(uiText(lang, "settings.weekday." + std::to_string(day)), day);
  }
  weekday->setCurrentIndex(weekday->findData(settings.digestWeekday()));
  QObject::connect(weekday, &QComboBox::activated, pane, [&settings, weekday](int i) {
    settings.setDigestWeekday(weekday->itemData(i).toInt());
  });
  form->addRow(uiText(lang, "settings.notifications.digestWeekday"), weekday);
  auto* digestHour = new QSpinBox;
  digestHour->setRange(0, 23);
  digestHour->setSuffix(QStringLiteral(":00"));
  digestHour->setValue(settings.digestHour());
  QObject::connect(digestHour, &QSpinBox::valueChanged, pane,
                   [&settings](int hour) { settings.setDigestHour(hour); });
  form->addRow(uiText(lang, "settings.notifications.digestHour"), digestHour);
  return pane;
}

}  // namespace velto::gui
