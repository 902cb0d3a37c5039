#pragma once

#include <cstdint>
#include <functional>

#include "platform/observable.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// The server's word that something happened on an input device. It comes without a grab and takes
/// nothing from anyone; held keys are not repeated in it.
struct RawEvent {
  std::uint16_t type = 0;      ///< XCB_INPUT_RAW_KEY_PRESS to XCB_INPUT_RAW_MOTION.
  std::uint8_t detail = 0;     ///< Keycode or button.
  std::uint32_t time = 0;      ///< Server milliseconds; they wrap.
  std::uint32_t sequence = 0;  ///< Of the last request that the server had read by then.
};

/// The raw events of all devices. Selected are only those that somebody listens to. Main thread
/// only.
class RawInput {
 public:
  using Handler = std::function<void(const RawEvent&)>;

  explicit RawInput(Connection& connection);
  RawInput(const RawInput&) = delete;
  RawInput& operator=(const RawInput&) = delete;

  // Subscriptions end before this does.
  Subscription onKey(Handler handler);
  /// Keys, buttons and motion.
  Subscription onAny(Handler handler);

 private:
  void handle(const xcb_generic_event_t& event);
  void select() const;
  Subscription count(int& listeners, Subscription subscription);

  Connection& connection_;
  Signal<const RawEvent&> key_;
  Signal<const RawEvent&> any_;
  int keyListeners_ = 0;
  int anyListeners_ = 0;
  Subscription events_;
};

}  // namespace tapeloop::x11
