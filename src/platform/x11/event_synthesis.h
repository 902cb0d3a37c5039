#pragma once

#include <cstdint>
#include <memory>

#include "platform/event_synthesis.h"
#include "platform/x11/key_grabs.h"
#include "platform/x11/keyboard_map.h"
#include "platform/x11/keyboard_state.h"
#include "platform/x11/screens.h"
#include "platform/x11/xtest_devices.h"

namespace tapeloop::x11 {

/// Event synthesis through the XTEST extension. Every event has been sent to the server when
/// `CGEventPost` returns.
class X11EventSynthesis final : public EventSynthesis {
 public:
  X11EventSynthesis(Connection& connection, const KeyboardMap& keyboard, KeyboardState& state,
                    const X11Screens& screens, XtestDevices& devices, KeyGrabs& grabs);
  X11EventSynthesis(const X11EventSynthesis&) = delete;
  X11EventSynthesis& operator=(const X11EventSynthesis&) = delete;
  /// Ends all sessions.
  ~X11EventSynthesis() override;

  std::optional<SyntheticEvent> CGEventCreateMouseEvent(EventType type, Point position,
                                                        MouseButton button) override;
  std::optional<SyntheticEvent> CGEventCreateKeyboardEvent(std::uint16_t keyCode,
                                                           bool keyDown) override;
  std::optional<SyntheticEvent> CGEventCreateScrollWheelEvent2(ScrollUnit units,
                                                               std::uint32_t wheelCount,
                                                               std::int32_t wheel1,
                                                               std::int32_t wheel2,
                                                               std::int32_t wheel3) override;
  void CGEventPost(TapLocation tap, const SyntheticEvent& event) override;
  [[nodiscard]] std::shared_ptr<PostingSession> beginPosting() override;

 private:
  class Session;

  void postMouse(const SyntheticEvent& event, const EventKind& kind);
  void postKey(const SyntheticEvent& event, bool goesDown);
  void postScroll(const SyntheticEvent& event);
  void postNotches(std::int64_t& pixels, std::int32_t added, std::uint8_t forward,
                   std::uint8_t backward);
  void endPosting();

  Connection& connection_;
  const KeyboardMap& keyboard_;
  KeyboardState& state_;
  const X11Screens& screens_;
  XtestDevices& devices_;
  KeyGrabs& grabs_;
  PointerTracker pointer_;
  std::weak_ptr<Session> session_;
  // Scrolled pixels that are less than a notch.
  std::int64_t pixelsUp_ = 0;
  std::int64_t pixelsLeft_ = 0;
};

}  // namespace tapeloop::x11
