#include "support/x_poster.h"

#include <xcb/xtest.h>

namespace tapeloop::support {

void XPoster::post(const XAction& action) const {
  const auto& server = connection();
  xcb_test_fake_input(
      server, static_cast<std::uint8_t>(action.kind), action.detail, XCB_CURRENT_TIME,
      action.kind == XEventKind::motion ? server.root() : XCB_NONE, action.x, action.y, 0);
}

}  // namespace tapeloop::support
