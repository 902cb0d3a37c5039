#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/x11/connection.h"

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

/// Every device event of the desktop, in order, through the RECORD extension on a connection of its
/// own. The server holds events back until it has something to write: whoever knows of an event
/// has to nudge it with a request that has a reply. Main thread only.
class RecordStream {
 public:
  using Handler = std::function<void(const DeviceEvent&)>;

  /// When this returns, every later event will be delivered. Null on failure.
  static std::unique_ptr<RecordStream> start(Connection& control, Handler handler);
  RecordStream(const RecordStream&) = delete;
  RecordStream& operator=(const RecordStream&) = delete;
  ~RecordStream();

  /// Ends the stream; events that happened before the call are delivered during it.
  void finish();

 private:
  RecordStream(Connection& control, xcb_connection_t* data, Handler handler);
  bool enable();
  bool waitUntilEnabled();
  bool drain();
  void deliver(const std::uint8_t* events, std::size_t size);
  [[nodiscard]] bool waitReadable() const;

  Connection& control_;
  xcb_connection_t* const data_;
  const Handler handler_;
  std::uint32_t context_ = 0;
  unsigned sequence_ = 0;  // of the one request that all replies answer
  bool enabled_ = false;
  bool ended_ = false;
  linux::Watch watch_;
  Subscription beforeWait_;
};

}  // namespace tapeloop::x11
