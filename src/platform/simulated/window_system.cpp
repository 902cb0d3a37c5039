#include "platform/simulated/window_system.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace tapeloop::simulated {
namespace {

template <typename... Arguments>
std::string operation(const char* name, const Arguments&... arguments) {
  std::ostringstream text;
  text << std::boolalpha << name;
  ((text << ' ' << arguments), ...);
  return text.str();
}

class RecordedWindow final : public Window {
 public:
  explicit RecordedWindow(std::shared_ptr<WindowRecord> record) : record_(std::move(record)) {}
  ~RecordedWindow() override { show(false); }

  void makeKeyAndOrderFront() override {
    note("makeKeyAndOrderFront");
    show(true);
  }
  void setMovableByWindowBackground(bool movable) override {
    note("setMovableByWindowBackground", movable);
  }
  void setLevel(WindowLevel level) override { note("setLevel", static_cast<int>(level)); }
  void setBackgroundColor(Color color) override {
    note("setBackgroundColor", color.red, color.green, color.blue, color.alpha);
  }
  [[nodiscard]] StyleMask styleMask() const override { return record_->styleMask; }
  void setStyleMask(StyleMask mask) override {
    note("setStyleMask", mask);
    record_->styleMask = mask;
  }
  void setBackingType(BackingType type) override {
    note("setBackingType", static_cast<unsigned>(type));
  }
  void setReleasedWhenClosed(bool released) override { note("setReleasedWhenClosed", released); }
  void setIgnoresMouseEvents(bool ignores) override { note("setIgnoresMouseEvents", ignores); }
  void setContentView(HostingView content) override {
    note("setContentView", content.cornerRadius);
    const bool visible = record_->visible;
    show(false);
    view_ = std::move(content.view);
    record_->view = view_;
    show(visible);
  }
  void setFrameTopLeftPoint(Point point) override {
    note("setFrameTopLeftPoint", point.x, point.y);
    record_->topLeft = point;
  }
  void close() override {
    note("close");
    show(false);
  }

 private:
  template <typename... Arguments>
  void note(const char* name, const Arguments&... arguments) {
    record_->operations.push_back(operation(name, arguments...));
  }
  void show(bool visible) {
    if (std::exchange(record_->visible, visible) == visible || !view_) return;
    visible ? view_->onAppear() : view_->onDisappear();
  }

  const std::shared_ptr<WindowRecord> record_;
  std::shared_ptr<View> view_;
};

}  // namespace

std::shared_ptr<Window> RecordedWindowSystem::createWindow(Rect contentRect, StyleMask mask,
                                                           BackingType backing,
                                                           DeferCreation defer) {
  if (refuses_) return nullptr;
  auto record = std::make_shared<WindowRecord>();
  record->styleMask = mask;
  record->operations.push_back(operation(
      "createWindow", contentRect.origin.x, contentRect.origin.y, contentRect.size.width,
      contentRect.size.height, mask, static_cast<unsigned>(backing), defer == DeferCreation::yes));
  records_.push_back(record);
  return std::make_shared<RecordedWindow>(std::move(record));
}

std::size_t RecordedWindowSystem::visibleWindows() const {
  return static_cast<std::size_t>(std::count_if(
      records_.begin(), records_.end(), [](const auto& window) { return window->visible; }));
}

}  // namespace tapeloop::simulated
