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

std::uint8_t keycodeOf(const QKeyEvent& key) {
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
  holdKeyboard();
  return token;
}

void LocalInputMonitor::removeMonitor(LocalMonitorToken token) {
  monitors_.erase(token);
  holdKeyboard();
}

void LocalInputMonitor::holdKeyboard() {
  QWindow* const wanted = admits(EventType::keyDown) ? QGuiApplication::focusWindow() : nullptr;
  if (holder_ == wanted) return;
  if (holder_) holder_->setKeyboardGrabEnabled(false);
  if (wanted) wanted->setKeyboardGrabEnabled(true);
  holder_ = wanted;
  grabRequests_.reset();
  if (holder_) grabRequests_ = keyboard_.onGrabRequest([this] { keyboardWanted_(); });
}

bool LocalInputMonitor::eventFilter(QObject* receiver, QEvent* event) {
  if (monitors_.empty()) return false;
  InputEvent input;
  switch (event->type()) {
    case QEvent::ShortcutOverride:
      // Else a shortcut of the window would take the key before anyone sees it here.
      if (!isMonitored(*static_cast<QKeyEvent*>(event))) return false;
      event->accept();
      return true;
    case QEvent::KeyPress: {
      const auto& key = *static_cast<QKeyEvent*>(event);
      // The window hands on to its items what it is given.
      if (!receiver->isWindowType() || !isMonitored(key)) return false;
      input.type = EventType::keyDown;
      input.keyCode =
          key.key() == Qt::Key_Escape ? escapeKeyCode : keyboard_.keyCodeOf(keycodeOf(key));
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
  return admits(EventType::keyDown) && !keyboard_.isModifierKey(keycodeOf(key));
}

bool LocalInputMonitor::admits(EventType type) const {
  return std::any_of(monitors_.begin(), monitors_.end(), [type](const auto& entry) {
    return tapeloop::admits(entry.second.mask, type);
  });
}

// A handler may remove monitors: those get nothing more.
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
