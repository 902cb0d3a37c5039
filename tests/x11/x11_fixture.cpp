#include "x11_fixture.h"

#include <algorithm>
#include <string_view>

#include "support/x_hardware.h"

namespace tapeloop::support {

std::unique_ptr<XUser> X11Test::makeUser(const XServer& server, const XServerOptions& options) {
  if (options.hardware) return std::make_unique<XHardware>(server);
  return std::make_unique<XPoster>(server.display());
}

XEventList::Events X11Test::record(const std::vector<XAction>& actions) {
  observer.clear();
  desktop.startCapture();
  const auto posting = poster.start(actions);
  EXPECT_TRUE(
      desktop.runUntilElsewhere([&] { return observer.size() >= actions.size(); }, patience));
  desktop.stopCapture();
  const auto events = observer.events();
  // The witness sees what the user does, exactly and completely.
  EXPECT_TRUE(std::ranges::equal(events, actions, [](const XEvent& event, const XAction& action) {
    const bool isPlaceRight =
        action.kind != XEventKind::motion || (event.rootX == action.x && event.rootY == action.y);
    return event.kind == action.kind && event.detail == action.detail && isPlaceRight;
  }));
  return events;
}

XEventList::Events X11Test::replay(double speed, std::size_t expected) {
  observer.clear();
  EXPECT_TRUE(desktop.playLog(speed, patience));
  EXPECT_TRUE(observer.waitFor(expected, patience));
  return observer.events();
}

XEventList::Events X11Test::withoutModifierKeys(const XEventList::Events& events) const {
  std::vector<std::uint8_t> modifiers;
  for (const std::string_view name :
       {"Shift_L", "Control_L", "Alt_L", "Super_L", "Caps_Lock", "ISO_Level3_Shift"}) {
    modifiers.push_back(poster.keycode(name));
  }
  XEventList::Events others;
  std::copy_if(events.begin(), events.end(), std::back_inserter(others), [&](const XEvent& event) {
    const bool isKey = event.kind == XEventKind::keyPress || event.kind == XEventKind::keyRelease;
    return !isKey || std::find(modifiers.begin(), modifiers.end(), event.detail) == modifiers.end();
  });
  return others;
}

bool X11Test::isHolding() const {
  return keysDown(server.display()).size() == 1 &&
         pointerState(server.display()).buttonsDown.size() == 1 &&
         !repeatsKeys(server.display(), testKeyboard);
}

bool X11Test::isNothingHeld() const {
  return keysDown(server.display()).empty() && pointerState(server.display()).buttonsDown.empty() &&
         repeatsKeys(server.display(), testKeyboard);
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
