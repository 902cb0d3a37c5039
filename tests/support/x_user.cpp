#include "support/x_user.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <stdexcept>
#include <utility>

#include <sys/timerfd.h>
#include <unistd.h>
#include <xkbcommon/xkbcommon.h>

namespace tapeloop::support {

void XUser::moveTo(int x, int y) const {
  post({XEventKind::motion, 0, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)});
  sync();
}

void XUser::press(std::uint8_t button) const {
  post({XEventKind::buttonPress, button});
  sync();
}

void XUser::release(std::uint8_t button) const {
  post({XEventKind::buttonRelease, button});
  sync();
}

void XUser::click(std::uint8_t button) const {
  press(button);
  release(button);
}

void XUser::pressKey(std::uint8_t keycode) const {
  post({XEventKind::keyPress, keycode});
  sync();
}

void XUser::releaseKey(std::uint8_t keycode) const {
  post({XEventKind::keyRelease, keycode});
  sync();
}

void XUser::tapKey(std::uint8_t keycode) const {
  pressKey(keycode);
  releaseKey(keycode);
}

void XUser::strike(const std::vector<std::string_view>& keys) const {
  for (const auto key : keys) pressKey(key);
  for (auto key = keys.rbegin(); key != keys.rend(); ++key) releaseKey(*key);
}

void XUser::typeText(std::string_view text) const {
  for (const auto& action : typing(text)) post(action);
  sync();
}

std::uint8_t XUser::keycode(std::string_view keysym) const {
  const auto symbol = xkb_keysym_from_name(std::string(keysym).c_str(), XKB_KEYSYM_NO_FLAGS);
  return find(symbol).keycode;
}

std::vector<XAction> XUser::typing(std::string_view text) const {
  const auto shift = keycode("Shift_L");
  std::vector<XAction> actions;
  for (const char character : text) {
    // Latin-1 characters are their own keysyms.
    const auto key = find(static_cast<std::uint8_t>(character));
    const auto level3 = key.level3 ? keycode("ISO_Level3_Shift") : std::uint8_t{0};
    if (key.shift) actions.push_back({XEventKind::keyPress, shift});
    if (key.level3) actions.push_back({XEventKind::keyPress, level3});
    actions.push_back({XEventKind::keyPress, key.keycode});
    actions.push_back({XEventKind::keyRelease, key.keycode});
    if (key.level3) actions.push_back({XEventKind::keyRelease, level3});
    if (key.shift) actions.push_back({XEventKind::keyRelease, shift});
  }
  return actions;
}

void XUser::run(const std::vector<XAction>& actions) const {
  const int timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  const std::int64_t start = monotonicNow();
  for (const auto& action : actions) {
    const std::int64_t due = start + action.offset.count();
    if (due > monotonicNow()) {
      // An absolute timerfd is not subject to the slack of the sleeping calls.
      itimerspec at{};
      at.it_value.tv_sec = due / 1'000'000'000;
      at.it_value.tv_nsec = due % 1'000'000'000;
      ::timerfd_settime(timer, TFD_TIMER_ABSTIME, &at, nullptr);
      std::uint64_t expirations = 0;
      while (::read(timer, &expirations, sizeof expirations) < 0 && errno == EINTR) continue;
    }
    post(action);
    flush();
  }
  ::close(timer);
}

std::jthread XUser::start(std::vector<XAction> actions) const {
  return std::jthread([this, actions = std::move(actions)] { run(actions); });
}

XUser::Key XUser::find(xcb_keysym_t keysym) const {
  const auto* setup = xcb_get_setup(connection_);
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  const auto mapping =
      connection_.reply(xcb_get_keyboard_mapping_reply,
                        xcb_get_keyboard_mapping(connection_, setup->min_keycode, count));
  if (!mapping) throw std::runtime_error("no keyboard mapping");
  const auto* symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
  const int columns = mapping->keysyms_per_keycode;
  // The core mapping of one keyboard group: plain, Shift, and from column 4 on with level 3.
  static constexpr std::array<std::pair<int, Key>, 4> levels{
      {{0, {}}, {1, {0, true, false}}, {4, {0, false, true}}, {5, {0, true, true}}}};
  for (const auto& [column, level] : levels) {
    if (column >= columns) break;
    for (int index = 0; index < count; ++index) {
      if (symbols[index * columns + column] != keysym) continue;
      Key key = level;
      key.keycode = static_cast<std::uint8_t>(setup->min_keycode + index);
      return key;
    }
  }
  throw std::runtime_error("no key bears keysym " + std::to_string(keysym));
}

void pace(std::vector<XAction>& actions, std::chrono::nanoseconds gap) {
  std::chrono::nanoseconds offset{0};
  for (auto& action : actions) {
    action.offset = offset;
    offset += gap;
  }
}

}  // namespace tapeloop::support
