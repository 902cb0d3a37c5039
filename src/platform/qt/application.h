#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <QtGui/QGuiApplication>

#include "platform/qt/lost_drags.h"

namespace tapeloop::qt {

/// What the desktop says about double clicks.
struct DoubleClickHints {
  double seconds = 0;
  double pixels = 0;
};

/// The identifiers that the X server gives to what Qt makes: `base`, apart from the bits of `mask`.
struct ClientIds {
  std::uint32_t base = 0;
  std::uint32_t mask = 0;
};

/// Qt, set up for this program: windows on the software scene graph, no arguments, the plain event
/// dispatcher. Main thread only; outlives everything else that is made with Qt.
class Application {
 public:
  /// There is an X server. `complain` gets one sentence when Qt can't go on, and the program ends
  /// with `failure`. `program` outlives this object.
  Application(char* program, void (*complain)(const std::string& sentence), int failure);
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;
  ~Application();

  [[nodiscard]] DoubleClickHints doubleClick() const;
  /// Where the files are that ship with the program: beside it in a build tree, in the prefix
  /// where it is installed.
  [[nodiscard]] std::string dataFolder() const;
  [[nodiscard]] ClientIds clientIds() const;

  /// `callback` runs before each update cycle of the windows.
  void onWillUpdate(std::function<void()> callback);

  /// Runs Qt's event loop until `quit`, or until the last ordinary window has been closed.
  int run();
  /// Works before `run`, too.
  void quit(int exitCode);

 private:
  int argumentCount_ = 1;
  char* arguments_[2];
  std::unique_ptr<QGuiApplication> application_;
  std::unique_ptr<LostDrags> lostDrags_;
};

}  // namespace tapeloop::qt
