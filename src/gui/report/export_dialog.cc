#include "gui/report/export_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QVBoxLayout>

#include "base/log.h"
#include "gui/report/report_text.h"

namespace velto::gui {

ExportDialog::ExportDialog(ServiceSet& services, DateInterval shown, const QString& shownLabel,
                           QWidget* parent)
    : QDialog(parent), services_(services), language_(services.language()), shown_(shown) {
  setWindowTitle(uiText(language_, "export.title"));
  auto* layout = new QVBoxLayout(this);
  auto* intro = new QLabel(uiText(language_, "export.description"), this);
  intro->setWordWrap(true);
  layout->addWidget(intro);

  auto* form = new QFormLayout;
  range_ = new QComboBox(this);
  range_->addItem(uiText(language_, "export.range.shown %@", utf8(shownLabel)));
  range_->addItem(uiText(language_, "export.range.last30"));
  range_->addItem(uiText(language_, "export.range.everything"));
  form->addRow(uiText(language_, "export.range"), range_);
  detail_ = new QComboBox(this);
  detail_->addItem(uiText(language_, "export.detail.segments"));
  detail_->addItem(uiText(language_, "export.detail.dailyApps"));
  form->addRow(uiText(language_, "export.detail"), detail_);
  detailText_ = new QLabel(this);
  detailText_->setWordWrap(true);
  form->addRow(QString(), detailText_);
  format_ = new QComboBox(this);
  format_->addItem(QStringLiteral("CSV"));
  format_->addItem(QStringLiteral("JSON"));
  form->addRow(uiText(language_, "export.format"), format_);
  layout->addLayout(form);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  buttons->button(QDialogButtonBox::Ok)->setText(uiText(language_, "export.action"));
  layout->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &ExportDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &ExportDialog::reject);
  connect(detail_, &QComboBox::currentIndexChanged, this, &ExportDialog::updateDetailText);
  updateDetailText();
  showFailure = [this](const QString& message) {
    QMessageBox::warning(this, uiText(language_, "export.title"), message);
  };
}

void ExportDialog::updateDetailText() {
  detailText_->setText(uiText(language_, detail_->currentIndex() == 0
                                             ? "export.detail.segments.description"
                                             : "export.detail.dailyApps.description"));
}

ExportChoices ExportDialog::choices() const {
  return {static_cast<ExportRange>(range_->currentIndex()),
          static_cast<ExportDetail>(detail_->currentIndex()),
          static_cast<ExportFormat>(format_->currentIndex())};
}

void ExportDialog::setChoices(const ExportChoices& choices) {
  range_->setCurrentIndex(static_cast<int>(choices.range));
  detail_->setCurrentIndex(static_cast<int>(choices.detail));
  format_->setCurrentIndex(static_cast<int>(choices.format));
}

bool ExportDialog::run(const std::function<QString(const QString& suggested)>& pickFile) {
  const ExportChoices chosen = choices();
  QString suggested = QDir::home().filePath(
      qs(suggestedExportName(chosen, services_.calendar(), services_.clock().now())));
  while (true) {
    const QString path = pickFile(suggested);
    if (path.isEmpty()) return false;
    QProgressDialog progress(uiText(language_, "export.progress"), QString(), 0, 100, this);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    Result<std::int64_t> written = exportToFile(
        services_, chosen, shown_, path.toStdString(), [&](std::int64_t done, std::int64_t total) {
          progress.setValue(total > 0 ? static_cast<int>(done * 100 / total) : 0);
        });
    progress.setValue(100);
    if (written) return true;
    log::error("Export failed: %{public}s", written.error());
    showFailure(uiText(language_, "export.writeFailed"));
    suggested = path;
  }
}

void ExportDialog::accept() {
  const bool written = run([this](const QString& suggested) {
    return QFileDialog::getSaveFileName(this, uiText(language_, "export.title"), suggested);
  });
  if (written) QDialog::accept();
}

}  // namespace velto::gui
