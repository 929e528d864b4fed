#include "gui/away/away_prompt.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/service_set.h"
#include "base/log.h"
#include "gui/shell/qt_text.h"

namespace velto::gui {

AwayPrompt::AwayPrompt(ServiceSet& services, AwayGap gap, QWidget* parent)
    : QDialog(parent), model_(services, std::move(gap)), language_(services.language()) {
  setObjectName(QStringLiteral("awayPrompt"));
  setWindowTitle(qtext(model_.title()));
  auto* layout = new QVBoxLayout(this);
  auto* title = new QLabel(qtext(model_.title()));
  QFont big = title->font();
  big.setPointSizeF(big.pointSizeF() * 1.4);
  big.setBold(true);
  title->setFont(big);
  layout->addWidget(title);
  layout->addWidget(new QLabel(qtext(model_.question())));

  if (const std::optional<std::string> yes = model_.yesText()) {
    auto* button = new QPushButton(qtext(*yes));
    button->setDefault(true);
    connect(button, &QPushButton::clicked, this, [this] { after(model_.answerYes()); });
    layout->addWidget(button);
  }

  const std::vector<RecentApp> recent = model_.recentApps();
  if (!recent.empty()) {
    auto* row = new QHBoxLayout;
    otherApps_ = new QComboBox;
    otherApps_->setAccessibleName(uiText(language_, "away.prompt.otherApp"));
    for (const RecentApp& app : recent) otherApps_->addItem(qtext(app.appName));
    auto* give = new QPushButton(uiText(language_, "away.prompt.otherApp"));
    connect(give, &QPushButton::clicked, this, [this, recent] {
      const int index = otherApps_->currentIndex();
      if (index >= 0 && index < static_cast<int>(recent.size())) {
        after(model_.answerApp(recent[static_cast<size_t>(index)]));
      }
    });
    row->addWidget(give);
    row->addWidget(otherApps_, 1);
    layout->addLayout(row);
  }

  auto* away = new QGroupBox(uiText(language_, "away.prompt.offComputer"));
  auto* kinds = new QGridLayout(away);
  int index = 0;
  for (OffMacKind kind : allOffMacKinds()) {
    auto* button = new QPushButton(uiText(language_, localizationKey(kind)));
    connect(button, &QPushButton::clicked, this,
            [this, kind] { after(model_.answerOffComputer(kind)); });
    kinds->addWidget(button, index / 2, index % 2);
    ++index;
  }
  layout->addWidget(away);

  auto* labelRow = new QHBoxLayout;
  label_ = new QLineEdit;
  label_->setPlaceholderText(uiText(language_, "away.prompt.freeText"));
  label_->setAccessibleName(uiText(language_, "away.prompt.freeText"));
  auto* name = new QPushButton(uiText(language_, "away.prompt.freeText.save"));
  auto saveLabel = [this] {
    const Status status = model_.answerLabel(label_->text().toStdString());
    if (model_.answered()) after(status);
  };
  connect(name, &QPushButton::clicked, this, saveLabel);
  connect(label_, &QLineEdit::returnPressed, this, saveLabel);
  labelRow->addWidget(label_, 1);
  labelRow->addWidget(name);
  layout->addLayout(labelRow);

  auto* bottom = new QHBoxLayout;
  auto* no = new QPushButton(uiText(language_, "away.prompt.no"));
  no->setToolTip(uiText(language_, "away.prompt.no.hint"));
  connect(no, &QPushButton::clicked, this, [this] {
    model_.answerNo();
    accept();
  });
  auto* later = new QPushButton(uiText(language_, "away.prompt.dismiss"));
  connect(later, &QPushButton::clicked, this, [this] { reject(); });
  bottom->addWidget(no);
  bottom->addStretch(1);
  bottom->addWidget(later);
  layout->addLayout(bottom);
  setMinimumWidth(420);
}

void AwayPrompt::reject() {
  if (!model_.answered()) model_.dismiss();
  QDialog::reject();
}

void AwayPrompt::after(const Status& status) {
  if (!status) {
    log::error("Away answer failed: %{public}s", status.error());
    return;
  }
  accept();
}

}  // namespace velto::gui
