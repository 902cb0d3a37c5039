#include "platform/qt/window_system.h"

#include <utility>

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QPointer>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

#include "platform/qt/window.h"

namespace tapeloop::qt {
namespace {

class AdoptedWindow final : public WindowChrome {
 public:
  explicit AdoptedWindow(QQuickWindow& window) : window_(&window) {}

  [[nodiscard]] std::string title() const override {
    return window_ ? window_->title().toStdString() : std::string();
  }
  void setMovableByWindowBackground(bool movable) override {
    if (window_) window_->setProperty("movableByBackground", movable);
  }
  void setStandardWindowButtonHidden(WindowButton button, bool hidden) override {
    if (!window_ || button != WindowButton::zoom) return;
    // Setting flags makes the window manager draw the frame anew, even if they are the same.
    if (window_->flags().testFlag(Qt::WindowMaximizeButtonHint) == hidden) {
      window_->setFlag(Qt::WindowMaximizeButtonHint, !hidden);
    }
  }

 private:
  const QPointer<QQuickWindow> window_;
};

}  // namespace

std::unique_ptr<QQuickItem> ViewRegistry::makeItem(const std::shared_ptr<View>& view) const {
  if (!view) return nullptr;
  const View& seen = *view;
  const auto maker = makers_.find(typeid(seen));
  return maker == makers_.end() ? nullptr : maker->second(view);
}

WindowSystem::~WindowSystem() {
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

std::shared_ptr<tapeloop::Window> WindowSystem::createWindow(Rect contentRect, StyleMask mask,
                                                             BackingType, DeferCreation) {
  auto window = std::make_shared<Window>(views_, frames_, contentRect, mask);
  std::erase_if(made_, [](const auto& made) { return made.expired(); });
  made_.push_back(window);
  return window;
}

void WindowSystem::adopt(QQuickWindow& window) {
  adopted_.push_back(std::make_shared<AdoptedWindow>(window));
}

std::vector<std::shared_ptr<WindowChrome>> WindowSystem::windows() {
  std::vector<std::shared_ptr<WindowChrome>> open = adopted_;
  for (const auto& made : made_) {
    if (auto window = made.lock(); window && window->isOpen()) open.push_back(std::move(window));
  }
  return open;
}

}  // namespace tapeloop::qt
