#include "gui/report/report_window.h"

#include <QLabel>
#include <QVBoxLayout>

#include "app/service_set.h"
#include "base/strings.h"

namespace velto::gui {

ReportWindow::ReportWindow(ServiceSet& services, QWidget* parent)
    : QWidget(parent), services_(services) {
  setWindowTitle(QStringLiteral("Velto"));
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel(QStringLiteral("Velto"), this));
}

}  // namespace velto::gui
