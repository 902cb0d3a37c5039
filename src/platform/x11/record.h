#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include <xcb/record.h>

#include "platform/observable.h"
#include "platform/x11/connection.h"
#include "platform/x11/keyboard_map.h"

namespace tapeloop::x11 {

/// One event of an input device as the server delivered it, in the terms of the core protocol.
struct DeviceEvent {
  std::uint8_t type = 0;     ///< KeyPress to MotionNotify.
  std::uint8_t detail = 0;   ///< Keycode or button.
  std::uint16_t state = 0;   ///< Modifiers and buttons before the event.
  std::uint32_t time = 0;    ///< Server milliseconds; they wrap.
  std::int16_t x = 0;        ///< Root pixels.
  std::int16_t y = 0;        ///< Root pixels, downwards.
  std::int64_t arrival = 0;  ///< Monotonic nanoseconds.
};

/// A context of the RECORD extension, on a connection of its own. It delivers what all clients send
/// or are sent, in order. The server buffers this until it has to write something to any client:
/// to get an event at once, a client makes a request that has a reply.
class RecordStream {
 public:
  using Handler = std::function<void(const DeviceEvent&)>;
  /// `client` is the base of the sender's identifiers. `request` has at least four bytes, and the
  /// server has not executed it yet.
  using RequestHandler =
      std::function<void(std::uint32_t client, std::span<const std::uint8_t> request)>;

  /// Every device event of the desktop. When this returns, every later event will be delivered.
  /// Null on failure.
  static std::unique_ptr<RecordStream> start(Connection& control, Handler handler);
  /// The requests of all clients that are in `range`. Null on failure.
  static std::unique_ptr<RecordStream> startForRequests(Connection& control,
                                                        const xcb_record_range_t& range,
                                                        RequestHandler handler);
  RecordStream(const RecordStream&) = delete;
  RecordStream& operator=(const RecordStream&) = delete;
  ~RecordStream();

  /// Ends the stream; events that happened before the call are delivered during it.
  void finish();

 private:
  using Sink = std::function<void(const xcb_record_enable_context_reply_t&)>;

  static std::unique_ptr<RecordStream> start(Connection& control, const xcb_record_range_t& range,
                                             std::uint8_t category, Sink sink);
  RecordStream(Connection& control, xcb_connection_t* data, std::uint8_t category, Sink sink);
  bool enable(const xcb_record_range_t& range);
  bool drainUntil(const bool& reached);
  bool drain();

  Connection& control_;
  xcb_connection_t* const data_;
  const std::uint8_t category_;  // of the replies that go to the sink
  const Sink sink_;
  std::uint32_t context_ = 0;
  unsigned sequence_ = 0;  // of EnableContext, the one request that all replies answer
  bool enabled_ = false;
  bool ended_ = false;
  system::Watch watch_;
  Subscription beforeWait_;
};

/// Says that something happened on an input device, as soon as it did. Raw events need no grab and
/// take nothing from other programs. The repeats of a held key are not among them.
struct RawEvent {
  std::uint16_t type = 0;      ///< XCB_INPUT_RAW_KEY_PRESS to XCB_INPUT_RAW_MOTION.
  std::uint8_t detail = 0;     ///< Keycode or button.
  std::uint32_t time = 0;      ///< Server milliseconds; they wrap.
  std::uint32_t sequence = 0;  ///< Of the last request that the server had read by then.
};

/// The raw events (XInput 2) of all devices: of keys always, as hotkeys need them, of buttons and
/// motion only while they are selected.
class RawInput {
 public:
  explicit RawInput(Connection& connection);
  RawInput(const RawInput&) = delete;
  RawInput& operator=(const RawInput&) = delete;

  void selectPointer(bool on);
  Subscription onRawEvent(std::function<void(const RawEvent&)> callback) {
    return rawEvent_.connect(std::move(callback));
  }

 private:
  void handle(const xcb_generic_event_t& event);

  Connection& connection_;
  Signal<const RawEvent&> rawEvent_;
  Subscription events_;
};

/// Watches, through RECORD, for requests of clients to grab the keyboard. Such a request fails
/// while this program has grabbed the keyboard, and the server notifies only the client that made
/// it.
///
/// Requests of the client whose identifiers have the base `ownClient` are ignored. `callback` runs
/// from the run loop.
Subscription onGrabRequest(Connection& connection, const KeyboardMap& keyboard,
                           std::uint32_t ownClient, std::function<void()> callback);

}  // namespace tapeloop::x11
