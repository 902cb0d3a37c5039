#include "platform/qt/local_input_monitor.h"

#include <algorithm>
#include <utility>

#include <QtGui/QGuiApplication>

namespace tapeloop::qt {
namespace {

std::optional<EventType> typeOf(const QMouseEvent& mouse) {
  const bool down = mouse.type() == QEvent::MouseButtonPress;
  switch (mouse.button()) {
    case Qt::LeftButton:
      return typeOfButton(MouseButton::left, down);
    case Qt::RightButton:
      return typeOfButton(MouseButton::right, down);
    default:
      return std::nullopt;
  }
}

std::uint8_t xKeycode(const QKeyEvent& key) {
  return static_cast<std::uint8_t>(key.nativeScanCode());
}

}  // namespace

LocalInputMonitor::LocalInputMonitor(NativeKeyboard keyboard) : keyboard_(std::move(keyboard)) {
  QGuiApplication::instance()->installEventFilter(this);
}

std::optional<LocalMonitorToken> LocalInputMonitor::addLocalMonitorForEventsMatchingMask(
    EventMask mask, Handler handler) {
  const LocalMonitorToken token{++latestToken_};
  monitors_.emplace(token, Monitor{mask, std::move(handler)});
  updateKeyboardGrab();
  return token;
}

void LocalInputMonitor::removeMonitor(LocalMonitorToken token) {
  monitors_.erase(token);
  updateKeyboardGrab();
}

void LocalInputMonitor::updateKeyboardGrab() {
  QWindow* const wanted = admits(EventType::keyDown) ? QGuiApplication::focusWindow() : nullptr;
  if (grabbing_ == wanted) return;
  if (grabbing_) grabbing_->setKeyboardGrabEnabled(false);
  if (wanted) wanted->setKeyboardGrabEnabled(true);
  grabbing_ = wanted;
  grabRequests_.reset();
  if (grabbing_) grabRequests_ = keyboard_.onGrabRequest([this] { keyboardWanted_(); });
}

bool LocalInputMonitor::eventFilter(QObject* receiver, QEvent* event) {
  if (monitors_.empty()) return false;
  InputEvent input;
  switch (event->type()) {
    case QEvent::ShortcutOverride:
      // Accepted, so that Qt sends the key as a KeyPress and does not trigger a shortcut of the
      // window.
      if (!isMonitored(*static_cast<QKeyEvent*>(event))) return false;
      event->accept();
      return true;
    case QEvent::KeyPress: {
      const auto& key = *static_cast<QKeyEvent*>(event);
      // Qt sends the event to the window, then again to the item that has the focus.
      if (!receiver->isWindowType() || !isMonitored(key)) return false;
      input.type = EventType::keyDown;
      input.keyCode =
          key.key() == Qt::Key_Escape ? escapeKeyCode : keyboard_.virtualKey(xKeycode(key));
      input.modifierFlags = keyboard_.flagsOf(static_cast<std::uint16_t>(key.nativeModifiers()));
      return swallows(input);
    }
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease: {
      const auto& mouse = *static_cast<QMouseEvent*>(event);
      const auto type = typeOf(mouse);
      if (!receiver->isWindowType() || !type) return false;
      input.type = *type;
      input.locationInWindow = {mouse.scenePosition().x(), mouse.scenePosition().y()};
      return swallows(input);
    }
    default:
      return false;
  }
}

bool LocalInputMonitor::isMonitored(const QKeyEvent& key) const {
  return admits(EventType::keyDown) && !keyboard_.isModifierKey(xKeycode(key));
}

bool LocalInputMonitor::admits(EventType type) const {
  return std::any_of(monitors_.begin(), monitors_.end(), [type](const auto& entry) {
    return tapeloop::admits(entry.second.mask, type);
  });
}

// A handler may remove monitors. Those are not called any more.
bool LocalInputMonitor::swallows(const InputEvent& event) {
  const auto monitors = monitors_;
  for (const auto& [token, monitor] : monitors) {
    if (monitors_.count(token) == 0) continue;
    if (!tapeloop::admits(monitor.mask, event.type)) continue;
    if (monitor.handler(event) == EventPass::swallow) return true;
  }
  return false;
}

}  // namespace tapeloop::qt
