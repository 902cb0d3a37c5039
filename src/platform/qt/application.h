#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <QtCore/QAbstractNativeEventFilter>
#include <QtCore/QSocketNotifier>
#include <QtGui/QGuiApplication>

#include "platform/system/run_loop.h"

namespace tapeloop::qt {

/// When two clicks make a double click, as the desktop has it.
struct DoubleClickHints {
  double seconds = 0;
  double pixels = 0;
};

/// The X server numbers the resources of one client, such as its windows: `base` plus any of the
/// bits in `mask`.
struct ClientIds {
  std::uint32_t base = 0;
  std::uint32_t mask = 0;
};

/// Qt, set up for this program: windows on the software scene graph, no command line arguments, the
/// plain event dispatcher, which also serves `loop`. Made before everything else that uses Qt.
class Application {
 public:
  /// There must be an X server. If Qt can't start or go on, `complain` gets one sentence and the
  /// process exits with `failure`.
  Application(char* program, system::EpollRunLoop& loop,
              void (*complain)(const std::string& sentence), int failure);
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;
  ~Application();

  [[nodiscard]] DoubleClickHints doubleClick() const;
  /// Where the files are that ship with the program: in the installation prefix, or beside the
  /// program in a build tree.
  [[nodiscard]] std::string dataFolder() const;
  /// Of Qt's own connection.
  [[nodiscard]] ClientIds clientIds() const;

  /// `callback` runs before each update cycle of the windows.
  void onWillUpdate(std::function<void()> callback);

  /// Runs Qt's event loop until `quit`, or until the last ordinary window has been closed.
  int run();
  /// May be called before `run`, too: then `run` returns at once.
  void quit(int exitCode);

 private:
  int argumentCount_ = 1;
  char* arguments_[2];
  std::unique_ptr<QGuiApplication> application_;
  std::unique_ptr<QAbstractNativeEventFilter> lostDrags_;
  std::unique_ptr<QSocketNotifier> runLoop_;
};

}  // namespace tapeloop::qt
