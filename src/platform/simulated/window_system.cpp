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
  RecordedWindow(std::shared_ptr<WindowRecord> record,
                 std::shared_ptr<const std::function<void()>> displaying)
      : record_(std::move(record)), displaying_(std::move(displaying)) {}
  ~RecordedWindow() override { show(false); }

  [[nodiscard]] std::string title() const override { return record_->title; }
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
  void center() override { note("center"); }
  void setFrameAutosaveName(std::string_view name) override { note("setFrameAutosaveName", name); }
  void setTitlebarAppearsTransparent(bool transparent) override {
    note("setTitlebarAppearsTransparent", transparent);
  }
  void setStandardWindowButtonHidden(WindowButton button, bool hidden) override {
    note("setStandardWindowButtonHidden", static_cast<unsigned>(button), hidden);
  }
  void display() override {
    if (*displaying_) (*displaying_)();
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
  const std::shared_ptr<const std::function<void()>> displaying_;
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
  auto window = std::make_shared<RecordedWindow>(std::move(record), displaying_);
  made_.push_back(window);
  return window;
}

std::vector<std::shared_ptr<WindowChrome>> RecordedWindowSystem::windows() {
  std::vector<std::shared_ptr<WindowChrome>> open;
  for (std::size_t i = 0; i < made_.size(); ++i) {
    if (auto window = made_[i].lock(); window && records_[i]->visible) {
      open.push_back(std::move(window));
    }
  }
  return open;
}

std::shared_ptr<Window> RecordedWindowSystem::openWindow(std::string title) {
  auto record = std::make_shared<WindowRecord>();
  record->title = std::move(title);
  record->visible = true;
  records_.push_back(record);
  auto window = std::make_shared<RecordedWindow>(std::move(record), displaying_);
  made_.push_back(window);
  return window;
}

std::size_t RecordedWindowSystem::visibleWindows() const {
  return static_cast<std::size_t>(std::count_if(
      records_.begin(), records_.end(), [](const auto& window) { return window->visible; }));
}

}  // namespace tapeloop::simulated
