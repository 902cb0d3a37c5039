#pragma once

#include <memory>

#include "platform/observable.h"
#include "platform/run_loop.h"
#include "platform/window_system.h"

namespace tapeloop {

/// The "REC" pill. Its dot blinks while the view is on screen: a second shown, a second hidden. Has
/// to be held by a shared pointer.
class RecordingView final : public View, public std::enable_shared_from_this<RecordingView> {
 public:
  explicit RecordingView(RunLoop& runLoop) : runLoop_(runLoop) {}
  ~RecordingView() override;

  void onAppear() override;
  void onDisappear() override;

  /// 1: the dot is shown, 0: hidden. Changes are not animated.
  [[nodiscard]] Observable<double>& circleOpacity() { return circleOpacity_; }

 private:
  void blink();

  RunLoop& runLoop_;
  State<double> circleOpacity_{1.0};
  TimerRef blinkTimer_;  // null until the view appears
};

/// The hint "Press Escape to Stop", shown during playback. It has no state.
class EscapeWindow final : public View {};

/// Opens a small window that floats above all others, lets clicks through and shows only `view`.
/// `topLeft` is the position of its top-left corner. Null if the window can't be made.
std::shared_ptr<Window> openIndicatorWindow(WindowSystem& windows, std::shared_ptr<View> view,
                                            Point topLeft);

}  // namespace tapeloop
