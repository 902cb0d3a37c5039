#include "controller/toast.h"

namespace tapeloop {

Toast::Toast(State<bool>& flag, RunLoop& runLoop) : flag_(flag), runLoop_(runLoop) {}

Toast::~Toast() {
  if (timer_) timer_->invalidate();
}

void Toast::invert() {
  if (flag_.get()) {
    hide();
    return;
  }
  timer_ = runLoop_.scheduledTimerWithTimeInterval(duration, TimerRepeats::no,
                                                   [this](const TimerRef&) { hide(); });
  flag_.set(true);
}

void Toast::hide() {
  if (timer_) timer_->invalidate();
  timer_.reset();
  flag_.set(false);
}

}  // namespace tapeloop
