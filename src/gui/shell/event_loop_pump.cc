#include "gui/shell/event_loop_pump.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>

namespace velto::gui {

EventLoopPump::EventLoopPump(platform::EventLoop& loop) : loop_(loop) {
  notifier_ = std::make_unique<QSocketNotifier>(loop_.fileDescriptor(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, this,
                   [this] { loop_.dispatchReady(); });
  if (QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance()) {
    QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this,
                     [this] { loop_.dispatchReady(); });
  }
}

EventLoopPump::~EventLoopPump() = default;

}  // namespace velto::gui
