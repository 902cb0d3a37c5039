#include "capture/recording_view.h"

namespace tapeloop {
namespace {

constexpr double blinkPeriod = 2.0;
constexpr double shownFor = 1.0;

}  // namespace

RecordingView::~RecordingView() {
  onDisappear();
}

void RecordingView::onAppear() {
  onDisappear();  // a view that appears again must not blink twice
  blinkTimer_ = runLoop_.scheduledTimerWithTimeInterval(blinkPeriod, TimerRepeats::yes,
                                                        [this](const TimerRef&) { blink(); });
  blinkTimer_->fire();
}

void RecordingView::onDisappear() {
  if (blinkTimer_) blinkTimer_->invalidate();
}

void RecordingView::blink() {
  circleOpacity_.set(1.0);
  runLoop_.dispatchAfter(shownFor, [view = weak_from_this()] {
    if (const auto self = view.lock()) self->circleOpacity_.set(0.0);
  });
}

}  // namespace tapeloop
