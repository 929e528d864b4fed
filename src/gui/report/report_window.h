// The report window: the recorded time of a period, read from the service set's store.
// Thread: main (GUI) thread. The service set outlives the window.
#pragma once

#include <QWidget>

namespace velto {
class ServiceSet;
}

namespace velto::gui {

class ReportWindow : public QWidget {
  Q_OBJECT
 public:
  explicit ReportWindow(ServiceSet& services, QWidget* parent = nullptr);

 private:
  ServiceSet& services_;
};

}  // namespace velto::gui
