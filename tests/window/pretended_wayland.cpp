#include <cstdint>
#include <string_view>

#include <dlfcn.h>
#include <xcb/xcb.h>

// Preloaded into the program: makes it see the extension XWAYLAND on the X server, which marks a
// server that runs inside Wayland. Nothing else changes.
extern "C" xcb_query_extension_cookie_t xcb_query_extension(xcb_connection_t* connection,
                                                            std::uint16_t length,
                                                            const char* name) {
  static const auto ask =
      reinterpret_cast<decltype(&xcb_query_extension)>(dlsym(RTLD_NEXT, "xcb_query_extension"));
  constexpr std::string_view present = "RANDR";
  if (std::string_view(name, length) == "XWAYLAND") {
    return ask(connection, present.size(), present.data());
  }
  return ask(connection, length, name);
}
