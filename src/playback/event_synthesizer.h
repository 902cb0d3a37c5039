#pragma once

#include <cstddef>
#include <cstdint>

#include "capture/recording.h"
#include "platform/event_synthesis.h"
#include "platform/input_event.h"
#include "platform/screens.h"
#include "platform/trace.h"

namespace tapeloop {

/// Converts recorded events into synthetic events and posts them. An event that can't be posted is
/// skipped. Has no state.
class EventSynthesizer {
 public:
  EventSynthesizer(EventSynthesis& synthesis, Screens& screens, Trace& trace)
      : synthesis_(synthesis), screens_(screens), trace_(trace) {}

  void postLoggedEvent(const InputEvent& event);
  /// Posts row `index` of `recording`, or nothing if a column that it needs is shorter.
  void postRecordedEvent(const Recording& recording, std::size_t index);

 private:
  void postRow(const Recording& recording, std::size_t index, const EventKind& kind);
  void postMouse(const EventKind& kind, Point location, std::int64_t clickCount);
  void postScroll(double deltaX, double deltaY);
  void postKey(std::uint16_t keyCode, bool keyDown, std::uint64_t modifierFlags);

  EventSynthesis& synthesis_;
  Screens& screens_;
  Trace& trace_;
};

}  // namespace tapeloop
