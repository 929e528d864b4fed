// The export sheet: range (the period shown, the last 30 days, everything), detail (every
// stretch or daily totals per app) and format (CSV or JSON), then a save dialog, a progress
// dialog while rows stream to the file, and the failure message that lets the user pick
// another folder.
// Thread: main thread.
#pragma once

#include <QDialog>
#include <functional>
#include <string>

#include "app/service_set.h"
#include "gui/report/export_job.h"

class QComboBox;
class QLabel;

namespace velto::gui {

class ExportDialog : public QDialog {
  Q_OBJECT
 public:
  // `shown` is the interval the report shows now and `shownLabel` its label.
  ExportDialog(ServiceSet& services, DateInterval shown, const QString& shownLabel,
               QWidget* parent = nullptr);

  ExportChoices choices() const;
  void setChoices(const ExportChoices& choices);

  // Asks where to save (`pickFile` returns an empty path for Cancel) and writes the file,
  // asking again after a failure. True once a file is written.
  bool run(const std::function<QString(const QString& suggested)>& pickFile);
  // How a failed write is told; a warning box unless replaced.
  std::function<void(const QString& message)> showFailure;

  void accept() override;

 private:
  void updateDetailText();

  ServiceSet& services_;
  std::string language_;
  DateInterval shown_;
  QComboBox* range_;
  QComboBox* detail_;
  QComboBox* format_;
  QLabel* detailText_;
};

}  // namespace velto::gui
