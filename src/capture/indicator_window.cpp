#include "capture/indicator_window.h"

#include <utility>

namespace tapeloop {
namespace {

constexpr Rect contentRect{{0, 0}, {500, 500}};
constexpr double cornerRadius = 10;
constexpr StyleMask initialMask = style_mask::titled | style_mask::closable |
                                  style_mask::miniaturizable | style_mask::resizable |
                                  style_mask::fullSizeContentView;

void addStyle(Window& window, StyleMask bits) {
  window.setStyleMask(window.styleMask() | bits);
}

}  // namespace

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
