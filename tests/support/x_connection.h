#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
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

  /// What the server answers to a request: `reply(xcb_get_geometry_reply, xcb_get_geometry(...))`.
  /// Null when it refuses.
  template <typename Reply, typename Cookie>
  [[nodiscard]] XOwned<Reply> reply(Reply* (*wait)(xcb_connection_t*, Cookie,
                                                   xcb_generic_error_t**),
                                    Cookie cookie) const {
    return XOwned<Reply>(wait(connection_, cookie, nullptr));
  }
  /// The elements of a property; none when the window has no such property of this size.
  template <typename T>
  [[nodiscard]] std::vector<T> property(xcb_window_t window, const std::string& name) const {
    const auto value = reply(
        xcb_get_property_reply,
        xcb_get_property(connection_, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1000));
    if (!value || value->format != 8 * sizeof(T)) return {};
    const auto* elements = static_cast<const T*>(xcb_get_property_value(value.get()));
    return {elements, elements + value->value_len};
  }

  /// Returns when the server has done everything that was asked of it.
  void sync() const;
  /// Throws the error of a checked request.
  void check(xcb_void_cookie_t cookie, const char* what) const;

 private:
  xcb_connection_t* connection_;
  const xcb_screen_t* screen_;
};

/// A thread that calls a function when it begins and whenever one of these connections may have
/// something to read, until one is broken or this object goes.
class XReader {
 public:
  XReader(std::vector<const XConnection*> connections, std::function<void()> read);
  XReader(const XReader&) = delete;
  XReader& operator=(const XReader&) = delete;
  ~XReader();
  [[nodiscard]] std::thread::native_handle_type handle() const {
    return const_cast<std::thread&>(thread_).native_handle();  // NOLINT: nothing is changed by it
  }

 private:
  const int stop_;  // readable once the thread is to end
  std::thread thread_;
};

/// The identity of an input device, found by name; throws when there is none.
[[nodiscard]] std::uint16_t inputDevice(const XConnection& connection, const std::string& name);

}  // namespace tapeloop::support
