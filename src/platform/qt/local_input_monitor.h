#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QWindow>

#include "platform/input_monitor.h"

namespace tapeloop::qt {

/// Translates the X server's numbers for keys and modifiers.
struct NativeKeyboard {
  std::function<std::uint16_t(std::uint8_t keycode)> virtualKey;
  std::function<std::uint64_t(std::uint16_t state)> flagsOf;
  std::function<bool(std::uint8_t keycode)> isModifierKey;
  /// Calls back when another client tries to grab the keyboard.
  std::function<Subscription(std::function<void()> callback)> onGrabRequest;
};

/// Filters the events of Qt's windows. While keys are monitored the focused window grabs the
/// keyboard, so it also gets keys that the desktop or another program has grabbed.
class LocalInputMonitor final : public QObject, public tapeloop::LocalInputMonitor {
 public:
  explicit LocalInputMonitor(NativeKeyboard keyboard);

  std::optional<LocalMonitorToken> addLocalMonitorForEventsMatchingMask(EventMask mask,
                                                                        Handler handler) override;
  void removeMonitor(LocalMonitorToken token) override;
  Subscription onKeyboardWanted(std::function<void()> callback) override {
    return keyboardWanted_.connect(std::move(callback));
  }

  bool eventFilter(QObject* receiver, QEvent* event) override;

 private:
  struct Monitor {
    EventMask mask;
    Handler handler;
  };

  void updateKeyboardGrab();
  [[nodiscard]] bool isMonitored(const QKeyEvent& key) const;
  [[nodiscard]] bool admits(EventType type) const;
  [[nodiscard]] bool swallows(const InputEvent& event);

  const NativeKeyboard keyboard_;
  std::map<LocalMonitorToken, Monitor> monitors_;
  std::uint64_t latestToken_ = 0;
  QPointer<QWindow> grabbing_;  // the window that grabs the keyboard; or null
  Signal<> keyboardWanted_;
  Subscription grabRequests_;  // while a window grabs the keyboard
};

}  // namespace tapeloop::qt
