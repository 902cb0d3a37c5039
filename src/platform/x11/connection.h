#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/observable.h"
#include "platform/system/run_loop.h"
#include "platform/x11/protocol.h"

namespace tapeloop::x11 {

/// Which extensions the server has, and the numbers of their requests and first events.
struct Extensions {
  bool record = false;
  bool xtest = false;
  bool xkb = false;
  bool xinput = false;  ///< Version 2.0 or later.
  bool randr = false;   ///< Version 1.5 or later.
  std::uint8_t xkbOpcode = 0;
  std::uint8_t xkbFirstEvent = 0;
  std::uint8_t xinputOpcode = 0;
  std::uint8_t randrFirstEvent = 0;
};

struct InputDevice {
  std::uint16_t id = 0;
  std::uint16_t type = 0;  ///< XCB_INPUT_DEVICE_TYPE_...
  std::string name;
};

/// The connection to the X server that carries all requests and their events. RECORD streams have
/// connections of their own. Its descriptor is watched by the run loop.
class Connection {
 public:
  /// An empty `displayName` stands for the variable DISPLAY. Null on failure, with one sentence for
  /// the user in `error`.
  static std::unique_ptr<Connection> open(system::EpollRunLoop& runLoop,
                                          const std::string& displayName, std::string& error);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  [[nodiscard]] xcb_connection_t* xcb() const { return xcb_; }
  [[nodiscard]] std::uint32_t root() const { return root_; }
  [[nodiscard]] const std::string& displayName() const { return displayName_; }
  [[nodiscard]] const Extensions& extensions() const { return extensions_; }
  [[nodiscard]] system::EpollRunLoop& runLoop() const { return runLoop_; }
  /// The server is gone: requests are ignored and replies are null from then on.
  [[nodiscard]] bool isLost() const { return xcb_connection_has_error(xcb_) != 0; }

  /// Waits for the reply to a request: `reply(xcb_get_geometry_reply, xcb_get_geometry(...))`.
  template <typename Reply, typename Cookie>
  XcbPtr<Reply> reply(Reply* (*wait)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                      Cookie cookie) const {
    return own(wait(xcb_, cookie, nullptr));
  }
  /// Waits until the server has executed every request so far.
  void roundTrip() const { reply(xcb_get_input_focus_reply, xcb_get_input_focus(xcb_)); }
  /// The same, and hands out the events that it sent until then.
  void catchUp();

  /// Zero when the atom can't be made.
  [[nodiscard]] std::uint32_t atom(const std::string& name) const;
  /// Asks the server. Empty without XInput 2.
  [[nodiscard]] std::vector<InputDevice> inputDevices() const;

  /// Every event of the connection, in order.
  Subscription onEvent(std::function<void(const xcb_generic_event_t&)> callback) {
    return event_.connect(std::move(callback));
  }
  /// After all events that have arrived so far were handed out.
  Subscription onDrained(std::function<void()> callback) {
    return drained_.connect(std::move(callback));
  }
  /// The connection was lost. Called once, from the run loop.
  Subscription onLost(std::function<void()> callback) { return lost_.connect(std::move(callback)); }

 private:
  Connection(system::EpollRunLoop& runLoop, std::string displayName, xcb_connection_t* xcb,
             std::uint32_t root);
  void queryExtensions();
  bool drain();

  system::EpollRunLoop& runLoop_;
  const std::string displayName_;
  xcb_connection_t* const xcb_;
  const std::uint32_t root_;
  Extensions extensions_;
  Signal<const xcb_generic_event_t&> event_;
  Signal<> drained_;
  Signal<> lost_;
  bool isLossNotified_ = false;
  system::Watch watch_;
  Subscription beforeWait_;
};

}  // namespace tapeloop::x11
