#include "x11_fixture.h"

#include <algorithm>
#include <utility>

#include "controller/shortcut_slots.h"

namespace tapeloop::support {

void X11Test::settle() {
  // What the first round makes the program do may have effects at the server.
  for (int round = 0; round < 2; ++round) {
    desktop.sync();
    bool turned = false;
    ASSERT_TRUE(turnUntil([&] { return std::exchange(turned, true); }));
  }
}

void X11Test::useLayout(const std::string& layout, const std::string& option,
                        const std::string& variant) {
  bool followed = false;
  const auto change = desktop.x.keyboardLayouts.onChange([&] { followed = true; });
  server.setKeyboardLayout(layout, option, variant);
  ASSERT_TRUE(turnUntil([&] { return followed; }));
  settle();
}

void X11Test::move(int x, int y) {
  actions.push_back(
      {XEventKind::motion, 0, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)});
}

void X11Test::click(std::uint8_t button) {
  press(button);
  release(button);
}

XEventList::Events X11Test::record() {
  observer.clear();
  desktop.startCapture();
  const auto posting = user.start(actions);
  EXPECT_TRUE(turnUntil([&] { return observer.size() >= actions.size(); }));
  desktop.stopCapture();
  const auto events = observer.events();
  // The witness sees what the user does, exactly and completely.
  EXPECT_TRUE(std::ranges::equal(events, actions, [](const XEvent& event, const XAction& action) {
    const bool isPlaceRight =
        action.kind != XEventKind::motion || (event.rootX == action.x && event.rootY == action.y);
    return event.kind == action.kind && event.detail == action.detail && isPlaceRight;
  }));
  actions.clear();
  return events;
}

XEventList::Events X11Test::replay(double speed, std::size_t expected) {
  observer.clear();
  EXPECT_TRUE(desktop.playLog(speed, timeout));
  EXPECT_TRUE(observer.waitUntil(
      [&](const auto& events) {
        return events.size() >= expected && withoutModifierKeys(events).size() >= expected;
      },
      timeout));
  return observer.events();
}

XEventList::Events X11Test::withoutModifierKeys(const Events& events) const {
  std::vector<std::uint8_t> modifiers;
  for (const std::string_view name :
       {"Shift_L", "Control_L", "Alt_L", "Super_L", "Caps_Lock", "ISO_Level3_Shift"}) {
    modifiers.push_back(user.keycode(name));
  }
  Events others;
  std::ranges::copy_if(events, std::back_inserter(others), [&](const XEvent& event) {
    const bool isKey = event.kind == XEventKind::keyPress || event.kind == XEventKind::keyRelease;
    return !isKey || std::ranges::find(modifiers, event.detail) == modifiers.end();
  });
  return others;
}

std::vector<std::uint8_t> X11Test::keysSeen() const {
  std::vector<std::uint8_t> keys;
  for (const auto& event : withoutModifierKeys(window.events())) {
    if (event.kind == XEventKind::keyPress) keys.push_back(event.detail);
  }
  return keys;
}

std::ptrdiff_t X11Test::timesSeen(std::string_view key) const {
  const auto keycode = user.keycode(key);
  return std::ranges::count_if(window.events(), [&](const XEvent& event) {
    return event.kind == XEventKind::keyPress && event.detail == keycode;
  });
}

bool X11Test::isHolding() const {
  return keysDown(server.display()).size() == 1 &&
         pointerState(server.display()).buttonsDown.size() == 1 &&
         !repeatOf(server.display(), testKeyboard).isOn;
}

bool X11Test::isNothingHeld() const {
  return keysDown(server.display()).empty() && pointerState(server.display()).buttonsDown.empty() &&
         repeatOf(server.display(), testKeyboard).isOn;
}

void X11Test::setShortcuts() {
  auto& shortcuts = desktop.contentView.keyboardShortcuts();
  shortcuts.setShortcut(recordShortcut, controlOptionR);
  shortcuts.setShortcut(playShortcut, controlOptionP);
  desktop.sync();
}

void expectSameInput(const XEventList::Events& replayed, const XEventList::Events& recorded) {
  for (std::size_t i = 0; i < std::min(replayed.size(), recorded.size()); ++i) {
    ASSERT_TRUE(replayed[i].looksLike(recorded[i]))
        << "event " << i << ": " << replayed[i] << " instead of " << recorded[i];
  }
  ASSERT_EQ(replayed.size(), recorded.size());
}

InputEvent inputEvent(EventType type, double offset, Point place) {
  InputEvent event;
  event.type = type;
  event.timestamp = 1000 + offset;
  event.locationInWindow = place;
  return event;
}

}  // namespace tapeloop::support
