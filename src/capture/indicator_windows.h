#pragma once

#include <memory>

#include "platform/observable.h"
#include "platform/run_loop.h"
#include "platform/window_system.h"

namespace tapeloop {

/// The "REC" pill with its dot, which is shown for a second and hidden for a second for as long as
/// the view is on screen. Held by shared pointers only. Main thread.
class RecordingView final : public View, public std::enable_shared_from_this<RecordingView> {
 public:
  /// `runLoop` outlives the view.
  explicit RecordingView(RunLoop& runLoop) : runLoop_(runLoop) {}
  ~RecordingView() override;

  void onAppear() override;
  void onDisappear() override;

  /// Of the dot: 1 shown, 0 hidden. Changes are not animated.
  [[nodiscard]] Observable<double>& circleOpacity() { return circleOpacity_; }

 private:
  void blink();

  RunLoop& runLoop_;
  State<double> circleOpacity_{1.0};
  TimerRef blinkTimer_;  // null before the view appeared
};

/// The hint "Press Escape to Stop" that is on screen during playback. It has no state.
class EscapeWindow final : public View {};

/// Opens a small window that floats above all others, lets clicks through and shows nothing but
/// `view`. `topLeft` is where its top-left corner goes. Null when the window can't be made.
std::shared_ptr<Window> openIndicatorWindow(WindowSystem& windows, std::shared_ptr<View> view,
                                            Point topLeft);

}  // namespace tapeloop
