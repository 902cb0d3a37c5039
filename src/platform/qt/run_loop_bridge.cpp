#include "platform/qt/run_loop_bridge.h"

#include <QtCore/QAbstractEventDispatcher>

namespace tapeloop::qt {

RunLoopBridge::RunLoopBridge(system::EpollRunLoop& loop)
    : loop_(loop), notifier_(loop.fileDescriptor(), QSocketNotifier::Read) {
  connect(&notifier_, &QSocketNotifier::activated, this, [this] { loop_.dispatch(); });
  // What Qt's own events left behind, such as a timer that a button started, is seen to before Qt
  // waits.
  connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
          [this] { loop_.endTurn(); });
}

}  // namespace tapeloop::qt
