// SIGINT and SIGTERM delivered to the Qt event loop: the handler writes one byte to a socket
// pair, and a socket notifier calls `onStop` on the main thread.
// Thread: GUI thread. One instance per process.
#pragma once

#include <QObject>
#include <functional>
#include <memory>

class QSocketNotifier;

namespace velto::gui {

class StopSignals : public QObject {
  Q_OBJECT
 public:
  explicit StopSignals(std::function<void()> onStop);
  ~StopSignals() override;

  bool installed() const { return notifier_ != nullptr; }

 private:
  std::function<void()> onStop_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace velto::gui
