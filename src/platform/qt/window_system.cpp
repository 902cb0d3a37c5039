#include "platform/qt/window_system.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

#include "platform/qt/window.h"

namespace tapeloop::qt {

WindowSystem::~WindowSystem() {
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

std::shared_ptr<tapeloop::Window> WindowSystem::createWindow(Rect contentRect, StyleMask mask,
                                                             BackingType, DeferCreation) {
  return std::make_shared<Window>(views_, contentRect, mask);
}

}  // namespace tapeloop::qt
