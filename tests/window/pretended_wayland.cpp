#include <cstdint>
#include <string_view>

#include <dlfcn.h>
#include <xcb/xcb.h>

// Loaded into the program ahead of its libraries: it takes the X server for one that runs inside
// Wayland, while everything else about that is as it was.
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
