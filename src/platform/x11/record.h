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

/// A request of a client, before the server has acted on it.
struct RecordedRequest {
  std::uint32_t client = 0;             ///< The base of the client's identifiers.
  std::span<const std::uint8_t> bytes;  ///< As the client sent it; four at least.
};

/// What the server tells of all clients through the RECORD extension, in order, on a connection of
/// its own. The server holds it back until it has something to write: whoever knows of an event
/// has to nudge it with a request that has a reply. Main thread only.
class RecordStream {
 public:
  using Handler = std::function<void(const DeviceEvent&)>;
  using RequestHandler = std::function<void(const RecordedRequest&)>;

  /// Every device event of the desktop. When this returns, every later event will be delivered.
  /// Null on failure.
  static std::unique_ptr<RecordStream> start(Connection& control, Handler handler);
  /// The requests of all clients that `range` admits.
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
  bool waitUntilEnabled();
  bool drain();
  [[nodiscard]] bool waitReadable() const;

  Connection& control_;
  xcb_connection_t* const data_;
  const std::uint8_t category_;  // of the replies that are wanted
  const Sink sink_;
  std::uint32_t context_ = 0;
  unsigned sequence_ = 0;  // of the one request that all replies answer
  bool enabled_ = false;
  bool ended_ = false;
  system::Watch watch_;
  Subscription beforeWait_;
};

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

/// Tells of other clients' attempts to grab the keyboard, which fail without a word to whoever has
/// grabbed it. Main thread only.
class GrabRequests {
 public:
  /// What is handed in outlives this.
  GrabRequests(Connection& connection, const KeyboardMap& keyboard)
      : connection_(connection), keyboard_(keyboard) {}
  GrabRequests(const GrabRequests&) = delete;
  GrabRequests& operator=(const GrabRequests&) = delete;

  /// `client` is the base of the identifiers of a client whose requests do not count, which comes
  /// with its connection setup. `callback` runs from the run loop. For one subscription at a time.
  Subscription watch(std::uint32_t client, std::function<void()> callback);

 private:
  [[nodiscard]] bool isForKeyboard(const RecordedRequest& request) const;

  Connection& connection_;
  const KeyboardMap& keyboard_;
  std::unique_ptr<RecordStream> stream_;  // while somebody watches
};

}  // namespace tapeloop::x11
