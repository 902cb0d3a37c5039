#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <xcb/xcb.h>

#include "platform/observable.h"
#include "platform/system/run_loop.h"

namespace tapeloop::x11 {

/// What of the server's extensions is there, and the numbers under which their events come.
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

/// The control connection to the X server: all requests but those that feed a recording stream, and
/// the events that come back. Its descriptor is in the run loop. Main thread only.
class Connection {
 public:
  /// An empty `displayName` means the one of the environment. Null on failure, with one sentence
  /// for the user in `error`. `runLoop` outlives the connection.
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
  [[nodiscard]] bool isLost() const;

  /// Hands out every event that the server sent before it got this request. Waits for its answer.
  void catchUp();

  /// Zero when the atom can't be made.
  [[nodiscard]] std::uint32_t atom(const std::string& name) const;

  /// Every event of the connection, in order; each listener picks what it knows.
  Subscription onEvent(std::function<void(const xcb_generic_event_t&)> callback) {
    return event_.connect(std::move(callback));
  }
  /// After all events that have arrived so far were handed out.
  Subscription onDrained(std::function<void()> callback) {
    return drained_.connect(std::move(callback));
  }
  /// Once, from the run loop.
  Subscription onLost(std::function<void()> callback) { return lost_.connect(std::move(callback)); }

 private:
  Connection(system::EpollRunLoop& runLoop, std::string displayName, xcb_connection_t* xcb,
             std::uint32_t root);
  void queryExtensions();
  void roundTrip() const;
  bool drain();
  void noticeLoss();

  system::EpollRunLoop& runLoop_;
  const std::string displayName_;
  xcb_connection_t* const xcb_;
  const std::uint32_t root_;
  Extensions extensions_;
  Signal<const xcb_generic_event_t&> event_;
  Signal<> drained_;
  Signal<> lost_;
  bool lossNoticed_ = false;
  system::Watch watch_;
  Subscription beforeWait_;
};

}  // namespace tapeloop::x11
