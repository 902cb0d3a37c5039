#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace tapeloop::support {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};
/// What XCB hands out with malloc: replies, errors, events.
template <typename T>
using XOwned = std::unique_ptr<T, FreeDeleter>;

/// One connection of a test tool to an X server. A failure to connect is an exception.
class XConnection {
 public:
  explicit XConnection(const std::string& display);
  XConnection(const XConnection&) = delete;
  XConnection& operator=(const XConnection&) = delete;
  ~XConnection() { xcb_disconnect(connection_); }

  // NOLINTNEXTLINE: stands for the connection wherever XCB wants one.
  operator xcb_connection_t*() const { return connection_; }
  [[nodiscard]] int descriptor() const { return xcb_get_file_descriptor(connection_); }
  [[nodiscard]] bool isBroken() const { return xcb_connection_has_error(connection_) != 0; }
  [[nodiscard]] const xcb_screen_t& screen() const { return *screen_; }
  [[nodiscard]] xcb_window_t root() const { return screen_->root; }
  [[nodiscard]] xcb_atom_t atom(const std::string& name) const;

  /// Returns when the server has done everything that was asked of it.
  void sync() const;
  /// Throws the error of a checked request.
  void check(xcb_void_cookie_t cookie, const char* what) const;

 private:
  xcb_connection_t* connection_;
  const xcb_screen_t* screen_;
};

/// The identity of an input device, found by name; throws when there is none.
[[nodiscard]] std::uint16_t inputDevice(const XConnection& connection, const std::string& name);

}  // namespace tapeloop::support
