#pragma once

#include <cstddef>
#include <cstdint>

#include "capture/recording.h"
#include "platform/event_synthesis.h"
#include "platform/input_event.h"
#include "platform/screens.h"
#include "platform/trace.h"

namespace tapeloop {

/// Turns one recorded event into one synthetic event and posts it. Holds no state between calls;
/// whatever can't be posted is skipped silently. Main thread only.
class EventSynthesizer {
 public:
  /// Everything that is handed in outlives the synthesizer.
  EventSynthesizer(EventSynthesis& synthesis, Screens& screens, Trace& trace)
      : synthesis_(synthesis), screens_(screens), trace_(trace) {}

  void postLoggedEvent(const InputEvent& event);
  /// Row `index` of `recording`. Posts nothing when a column that the row needs has no such entry.
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
