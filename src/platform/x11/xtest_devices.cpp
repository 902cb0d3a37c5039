#include "platform/x11/xtest_devices.h"

#include <algorithm>
#include <array>

#include <xcb/xcb.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include "platform/x11/protocol.h"

namespace tapeloop::x11 {

namespace {

// Not every post is followed by a raw event; of old ones there is no use.
constexpr std::size_t mostPosts = 4096;

}  // namespace

void PostedKeys::posted(std::uint32_t sequence, std::uint8_t keycode) {
  if (posts_.size() == mostPosts) posts_.pop_front();
  posts_.push_back({sequence, keycode});
}

bool PostedKeys::isPosted(std::uint32_t sequence, std::uint8_t keycode) {
  while (!posts_.empty()) {
    const Post post = posts_.front();
    if (static_cast<std::int32_t>(post.sequence - sequence) > 0) return false;
    if (post.sequence == sequence && post.keycode != keycode) return false;
    posts_.pop_front();
    if (post.sequence == sequence) return true;
  }
  return false;
}

namespace {

constexpr std::uint32_t xkbControlsEnabled = 1U << 31;  // the control "which controls are enabled"

// The root window's property: whose it is, and what `repeats` said before.
struct Mark {
  std::uint32_t owner;
  std::uint32_t repeats;
};
constexpr std::uint32_t markItems = sizeof(Mark) / sizeof(std::uint32_t);

// Classes of device state, by the numbers of the input extension's first version.
constexpr std::uint8_t keyClass = 0;
constexpr std::uint8_t buttonClass = 1;

}  // namespace

std::string_view deviceName(const xcb_input_xi_device_info_t& device) {
  return {xcb_input_xi_device_info_name(&device),
          static_cast<std::size_t>(xcb_input_xi_device_info_name_length(&device))};
}

TestDevices::TestDevices(Connection& connection, PostedKeys& posted)
    : connection_(connection), posted_(posted) {
  const auto& extensions = connection_.extensions();
  if (!extensions.xtest || !extensions.xinput || !extensions.xkb) return;
  findDevices();
  mark_ = connection_.atom("_TAPELOOP_POSTING");
  // Before this program has a window: its number may be the one that a killed run had.
  cleanUpAfterKilledRun();
  auto* xcb = connection_.xcb();
  owner_ = xcb_generate_id(xcb);
  xcb_create_window(xcb, 0, owner_, connection_.root(), -1, -1, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
  xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, owner_, mark_, XCB_ATOM_WINDOW, 32, 1, &owner_);
  xcb_flush(xcb);
}

void TestDevices::findDevices() {
  auto* xcb = connection_.xcb();
  const auto reply = own(xcb_input_xi_query_device_reply(
      xcb, xcb_input_xi_query_device(xcb, XCB_INPUT_DEVICE_ALL), nullptr));
  if (!reply) return;
  for (auto i = xcb_input_xi_query_device_infos_iterator(reply.get()); i.rem > 0;
       xcb_input_xi_device_info_next(&i)) {
    const std::string_view name = deviceName(*i.data);
    const auto device = static_cast<std::uint8_t>(i.data->deviceid);
    if (name == testKeyboardName) keyboard_ = device;
    if (name == testPointerName) pointer_ = device;
    if (name == "Virtual core keyboard") master_ = device;
  }
}

void TestDevices::cleanUpAfterKilledRun() {
  auto* xcb = connection_.xcb();
  const auto marked = own(xcb_get_property_reply(
      xcb, xcb_get_property(xcb, 0, connection_.root(), mark_, XCB_ATOM_WINDOW, 0, markItems),
      nullptr));
  if (!marked || xcb_get_property_value_length(marked.get()) != sizeof(Mark)) return;
  const Mark mark = *static_cast<const Mark*>(xcb_get_property_value(marked.get()));
  // The window goes with its program; another one may have got its number since.
  const auto alive = own(xcb_get_property_reply(
      xcb, xcb_get_property(xcb, 0, mark.owner, mark_, XCB_ATOM_WINDOW, 0, 1), nullptr));
  if (alive && alive->type == XCB_ATOM_WINDOW) return;
  releaseEverything(keyboard_);
  releaseEverything(pointer_);
  setRepeats(mark.repeats != 0);
  xcb_delete_property(xcb, connection_.root(), mark_);
  // Done when the answer is there, even if the program ends at once.
  own(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
}

void TestDevices::releaseEverything(std::uint8_t device) {
  auto* xcb = connection_.xcb();
  const auto state = own(
      xcb_input_query_device_state_reply(xcb, xcb_input_query_device_state(xcb, device), nullptr));
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

void TestDevices::hold() {
  auto* xcb = connection_.xcb();
  if (owner_ == 0) return;
  repeats_ = repeats();
  const Mark mark{owner_, repeats_ ? 1U : 0U};
  xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, connection_.root(), mark_, XCB_ATOM_WINDOW, 32,
                      markItems, &mark);
  setRepeats(false);
}

void TestDevices::release() {
  while (!held_.empty()) {
    const Held last = held_.back();
    last.isKey ? releaseKey(last.code) : releaseButton(last.code);
  }
  if (owner_ == 0) return;
  setRepeats(repeats_);
  xcb_delete_property(connection_.xcb(), connection_.root(), mark_);
}

void TestDevices::moveTo(std::int16_t x, std::int16_t y) {
  fake(XCB_MOTION_NOTIFY, 0, x, y);
}

void TestDevices::pressKey(std::uint8_t keycode) {
  keysDown_.set(keycode);
  held_.push_back({true, keycode});
  fake(XCB_KEY_PRESS, keycode);
}

void TestDevices::releaseKey(std::uint8_t keycode) {
  keysDown_.reset(keycode);
  std::erase(held_, Held{true, keycode});
  fake(XCB_KEY_RELEASE, keycode);
}

void TestDevices::pressButton(std::uint8_t button) {
  held_.push_back({false, button});
  fake(XCB_BUTTON_PRESS, button);
}

void TestDevices::releaseButton(std::uint8_t button) {
  std::erase(held_, Held{false, button});
  fake(XCB_BUTTON_RELEASE, button);
}

bool TestDevices::repeats() const {
  auto* xcb = connection_.xcb();
  const auto controls =
      own(xcb_xkb_get_controls_reply(xcb, xcb_xkb_get_controls(xcb, keyboard_), nullptr));
  return !controls || (controls->enabledControls & XCB_XKB_BOOL_CTRL_REPEAT_KEYS) != 0;
}

// What counts are the controls of the keyboard that programs know. Those are a copy of the controls
// of the device used last, taken only when the device changes: if that is this one, both have to be
// set. If it is the person's, setting the copy would set theirs too, and no key that they hold
// would repeat.
void TestDevices::setRepeats(bool on) {
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

bool TestDevices::isKeyboardUsedLast() const {
  auto* xcb = connection_.xcb();
  const auto reply =
      own(xcb_input_xi_query_device_reply(xcb, xcb_input_xi_query_device(xcb, master_), nullptr));
  if (!reply) return false;
  const auto master = xcb_input_xi_query_device_infos_iterator(reply.get());
  if (master.rem == 0) return false;
  for (auto i = xcb_input_xi_device_info_classes_iterator(master.data); i.rem > 0;
       xcb_input_device_class_next(&i)) {
    if (i.data->type == XCB_INPUT_DEVICE_CLASS_TYPE_KEY) return i.data->sourceid == keyboard_;
  }
  return false;
}

void TestDevices::fake(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y) {
  // A request of an extension that the server lacks would end the connection.
  if (!connection_.extensions().xtest) return;
  const auto request = xcb_test_fake_input(connection_.xcb(), type, detail, XCB_CURRENT_TIME,
                                           connection_.root(), x, y, 0);
  if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) posted_.posted(request.sequence, detail);
}

}  // namespace tapeloop::x11
