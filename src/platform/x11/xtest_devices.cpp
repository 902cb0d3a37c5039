#include "platform/x11/xtest_devices.h"

#include <algorithm>
#include <array>

#include <xcb/xcb.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace tapeloop::x11 {
namespace {

constexpr std::uint32_t xkbControlsEnabled = 1U << 31;  // the control "which controls are enabled"

// The value of the root window's property.
struct Mark {
  std::uint32_t owner;
  std::uint32_t repeats;  // before `hold`
};
constexpr std::uint32_t markItems = sizeof(Mark) / sizeof(std::uint32_t);

// Classes of device state, by the numbers of the input extension's first version.
constexpr std::uint8_t keyClass = 0;
constexpr std::uint8_t buttonClass = 1;

// Some posts are followed by no raw event; their entries must not pile up.
constexpr std::size_t mostPosts = 4096;

}  // namespace

XtestDevices::XtestDevices(Connection& connection) : connection_(connection) {
  const auto& extensions = connection_.extensions();
  if (!extensions.xtest || !extensions.xinput || !extensions.xkb) return;
  for (const InputDevice& device : connection_.inputDevices()) {
    const auto number = static_cast<std::uint8_t>(device.id);
    if (device.name == xtestKeyboardName) keyboard_ = number;
    if (device.name == xtestPointerName) pointer_ = number;
    if (device.name == "Virtual core keyboard") master_ = number;
  }
  mark_ = connection_.atom("_TAPELOOP_POSTING");
  // Before this program has a window, which may get the number of the killed run's.
  cleanUpAfterKilledRun();
  auto* xcb = connection_.xcb();
  owner_ = xcb_generate_id(xcb);
  xcb_create_window(xcb, 0, owner_, connection_.root(), -1, -1, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
  xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, owner_, mark_, XCB_ATOM_WINDOW, 32, 1, &owner_);
  xcb_flush(xcb);
}

void XtestDevices::cleanUpAfterKilledRun() {
  auto* xcb = connection_.xcb();
  const auto marked = connection_.reply(
      xcb_get_property_reply,
      xcb_get_property(xcb, 0, connection_.root(), mark_, XCB_ATOM_WINDOW, 0, markItems));
  if (!marked || xcb_get_property_value_length(marked.get()) != sizeof(Mark)) return;
  const Mark mark = *static_cast<const Mark*>(xcb_get_property_value(marked.get()));
  // The owner window went with its program. Its number may have been given to another window since,
  // which lacks the property.
  const auto alive = connection_.reply(
      xcb_get_property_reply, xcb_get_property(xcb, 0, mark.owner, mark_, XCB_ATOM_WINDOW, 0, 1));
  if (alive && alive->type == XCB_ATOM_WINDOW) return;
  releaseEverything(keyboard_);
  releaseEverything(pointer_);
  setRepeats(mark.repeats != 0);
  xcb_delete_property(xcb, connection_.root(), mark_);
  // So that it is done even if the program ends at once.
  connection_.roundTrip();
}

void XtestDevices::releaseEverything(std::uint8_t device) {
  const auto state = connection_.reply(xcb_input_query_device_state_reply,
                                       xcb_input_query_device_state(connection_.xcb(), device));
  if (!state) return;
  for (auto i = xcb_input_query_device_state_classes_iterator(state.get()); i.rem > 0;
       xcb_input_input_state_next(&i)) {
    if (i.data->class_id != keyClass && i.data->class_id != buttonClass) continue;
    // Either class: a header of four bytes, then a bit for each key or button.
    const auto* bits = reinterpret_cast<const std::uint8_t*>(i.data) + sizeof(std::uint32_t);
    const std::size_t length = (i.data->len - sizeof(std::uint32_t)) * 8;
    for (std::size_t code = 0; code < std::min<std::size_t>(length, 256); ++code) {
      if ((bits[code / 8] >> (code % 8) & 1U) == 0) continue;
      fake(i.data->class_id == keyClass ? XCB_KEY_RELEASE : XCB_BUTTON_RELEASE,
           static_cast<std::uint8_t>(code));
    }
  }
}

void XtestDevices::hold() {
  if (owner_ == 0) return;
  repeats_ = repeats();
  const Mark mark{owner_, repeats_ ? 1U : 0U};
  xcb_change_property(connection_.xcb(), XCB_PROP_MODE_REPLACE, connection_.root(), mark_,
                      XCB_ATOM_WINDOW, 32, markItems, &mark);
  setRepeats(false);
}

void XtestDevices::release() {
  while (!held_.empty()) {
    const Held last = held_.back();
    last.isKey ? releaseKey(last.code) : releaseButton(last.code);
  }
  if (owner_ == 0) return;
  setRepeats(repeats_);
  xcb_delete_property(connection_.xcb(), connection_.root(), mark_);
}

void XtestDevices::moveTo(std::int16_t x, std::int16_t y) {
  fake(XCB_MOTION_NOTIFY, 0, x, y);
}

void XtestDevices::pressKey(std::uint8_t keycode) {
  held_.push_back({true, keycode});
  fake(XCB_KEY_PRESS, keycode);
}

void XtestDevices::releaseKey(std::uint8_t keycode) {
  std::erase(held_, Held{true, keycode});
  fake(XCB_KEY_RELEASE, keycode);
}

bool XtestDevices::isKeyDown(std::uint8_t keycode) const {
  return std::find(held_.begin(), held_.end(), Held{true, keycode}) != held_.end();
}

void XtestDevices::pressButton(std::uint8_t button) {
  held_.push_back({false, button});
  fake(XCB_BUTTON_PRESS, button);
}

void XtestDevices::releaseButton(std::uint8_t button) {
  std::erase(held_, Held{false, button});
  fake(XCB_BUTTON_RELEASE, button);
}

bool XtestDevices::isPosted(std::uint32_t sequence, std::uint8_t keycode) {
  while (!posts_.empty()) {
    const Post post = posts_.front();
    if (isLater(post.sequence, sequence)) return false;
    if (post.sequence == sequence && post.keycode != keycode) return false;
    posts_.pop_front();
    if (post.sequence == sequence) return true;
  }
  return false;
}

// Whether the server repeats keys that are held through XTEST.
bool XtestDevices::repeats() const {
  const auto controls = connection_.reply(xcb_xkb_get_controls_reply,
                                          xcb_xkb_get_controls(connection_.xcb(), keyboard_));
  return !controls || (controls->enabledControls & XCB_XKB_BOOL_CTRL_REPEAT_KEYS) != 0;
}

// The server goes by the controls of the core keyboard. These are a copy of the controls of the
// keyboard used last, taken only when another one is used. So they are set as well if that was the
// XTEST keyboard; otherwise they are the controls of the user's keyboard, on which no held key
// would repeat any more.
void XtestDevices::setRepeats(bool on) {
  constexpr std::array<std::uint8_t, 32> perKey{};  // not among what is changed
  const std::array devices{keyboard_, isKeyboardUsedLast() ? master_ : std::uint8_t{0}};
  for (const std::uint8_t device : devices) {
    if (device == 0) continue;
    xcb_xkb_set_controls(connection_.xcb(), device, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                         XCB_XKB_BOOL_CTRL_REPEAT_KEYS, on ? XCB_XKB_BOOL_CTRL_REPEAT_KEYS : 0,
                         xkbControlsEnabled, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                         perKey.data());
  }
}

bool XtestDevices::isKeyboardUsedLast() const {
  const auto reply = connection_.reply(xcb_input_xi_query_device_reply,
                                       xcb_input_xi_query_device(connection_.xcb(), master_));
  if (!reply) return false;
  const auto master = xcb_input_xi_query_device_infos_iterator(reply.get());
  if (master.rem == 0) return false;
  for (auto i = xcb_input_xi_device_info_classes_iterator(master.data); i.rem > 0;
       xcb_input_device_class_next(&i)) {
    if (i.data->type == XCB_INPUT_DEVICE_CLASS_TYPE_KEY) return i.data->sourceid == keyboard_;
  }
  return false;
}

void XtestDevices::fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y) {
  // libxcb closes the connection on a request of an extension that the server lacks.
  if (!connection_.extensions().xtest) return;
  const auto request = xcb_test_fake_input(connection_.xcb(), type, detail, XCB_CURRENT_TIME,
                                           connection_.root(), x, y, 0);
  if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) return;
  if (posts_.size() == mostPosts) posts_.pop_front();
  posts_.push_back({request.sequence, detail});
}

}  // namespace tapeloop::x11
