#include "platform/qt/window_system.h"

#include <utility>

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

namespace tapeloop::qt {

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

std::vector<std::shared_ptr<tapeloop::Window>> WindowSystem::windows() {
  std::vector<std::shared_ptr<tapeloop::Window>> open;
  for (const auto& made : made_) {
    if (auto window = made.lock(); window && window->isOpen()) open.push_back(std::move(window));
  }
  return open;
}

}  // namespace tapeloop::qt
