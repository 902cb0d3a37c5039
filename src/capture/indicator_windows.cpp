#include "capture/indicator_windows.h"

#include <utility>

namespace tapeloop {
namespace {

constexpr double blinkPeriod = 2.0;
constexpr double shownFor = 1.0;

constexpr Rect contentRect{{0, 0}, {500, 500}};
constexpr double cornerRadius = 10;
constexpr StyleMask initialMask = style_mask::titled | style_mask::closable |
                                  style_mask::miniaturizable | style_mask::resizable |
                                  style_mask::fullSizeContentView;

void addStyle(Window& window, StyleMask bits) {
  window.setStyleMask(window.styleMask() | bits);
}

}  // namespace

RecordingView::~RecordingView() {
  onDisappear();
}

void RecordingView::onAppear() {
  onDisappear();  // stops the timer of an earlier appearance
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

std::shared_ptr<Window> openIndicatorWindow(WindowSystem& windows, std::shared_ptr<View> view,
                                            Point topLeft) {
  auto window =
      windows.createWindow(contentRect, initialMask, BackingType::buffered, DeferCreation::no);
  if (!window) return nullptr;
  window->makeKeyAndOrderFront();
  window->setMovableByWindowBackground(true);
  window->setLevel(WindowLevel::floating);
  window->setBackgroundColor(clearColor);
  addStyle(*window, style_mask::resizable);
  addStyle(*window, style_mask::fullSizeContentView);
  window->setBackingType(BackingType::buffered);
  window->setStyleMask(style_mask::borderless);
  addStyle(*window, style_mask::resizable);
  addStyle(*window, style_mask::fullSizeContentView);
  window->setReleasedWhenClosed(false);
  window->setIgnoresMouseEvents(true);
  window->setContentView({std::move(view), cornerRadius});
  window->setFrameTopLeftPoint(topLeft);
  return window;
}

}  // namespace tapeloop
