#include "platform/x11/grab_requests.h"

#include <cstring>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace tapeloop::x11 {

Subscription GrabRequests::watch(std::uint32_t client, std::function<void()> callback) {
  xcb_record_range_t range{};
  range.core_requests = {XCB_GRAB_KEYBOARD, XCB_GRAB_KEYBOARD};
  if (connection_.extensions().xinput) {
    const std::uint8_t opcode = connection_.extensions().xinputOpcode;
    range.ext_requests = {{opcode, opcode}, {XCB_INPUT_XI_GRAB_DEVICE, XCB_INPUT_XI_GRAB_DEVICE}};
  }
  Signal<> wanted;
  auto subscription = std::make_shared<Subscription>(wanted.connect(std::move(callback)));
  stream_ = RecordStream::startForRequests(
      connection_, range, [this, client, wanted](const RecordedRequest& request) {
        if (request.client == client || !isForKeyboard(request)) return;
        // Whoever hears of it may end the stream, which is in use now.
        connection_.runLoop().dispatchAfter(0, wanted);
      });
  return Subscription([this, subscription] {
    subscription->reset();
    stream_.reset();
  });
}

bool GrabRequests::isForKeyboard(const RecordedRequest& request) const {
  const std::uint8_t opcode = request.bytes[0];
  if (opcode == XCB_GRAB_KEYBOARD) return true;
  xcb_input_xi_grab_device_request_t grab;
  if (request.bytes.size() < sizeof grab) return false;
  std::memcpy(&grab, request.bytes.data(), sizeof grab);
  // The pointer is grabbed in this way too, for every menu.
  return grab.deviceid == keyboard_.device();
}

}  // namespace tapeloop::x11
