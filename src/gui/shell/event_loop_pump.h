// Runs the platform's event loop (sd-event) inside the Qt event loop: whatever the loop has
// ready is dispatched when its descriptor becomes readable, and again each time Qt is about to
// wait, which also arms the loop's timers for that wait (a timer added since the last turn is
// armed only then).
//
// Thread: GUI thread; `loop` must outlive this object.
#pragma once

#include <QObject>
#include <memory>

#include "platform/linux/event_loop.h"

class QSocketNotifier;

namespace velto::gui {

class EventLoopPump : public QObject {
  Q_OBJECT
 public:
  explicit EventLoopPump(platform::EventLoop& loop);
  ~EventLoopPump() override;

 private:
  platform::EventLoop& loop_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace velto::gui
