#pragma once

#include <QtCore/QObject>
#include <QtCore/QSocketNotifier>

#include "platform/system/run_loop.h"

namespace tapeloop::qt {

/// Runs our run loop inside Qt's: its one descriptor is a socket notifier there. To be made once
/// Qt's application exists. Main thread only.
class RunLoopBridge : public QObject {
 public:
  /// `loop` outlives the bridge.
  explicit RunLoopBridge(system::EpollRunLoop& loop);

 private:
  system::EpollRunLoop& loop_;
  QSocketNotifier notifier_;
};

}  // namespace tapeloop::qt
