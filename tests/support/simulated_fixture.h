#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/simulated_desktop.h"

namespace tapeloop::testing {

using Lines = std::vector<std::string>;

// Captured events. Times are seconds since system start-up.
inline InputEvent mouse(EventType type, double time, Point at = {}, std::int64_t clicks = 0) {
  InputEvent event;
  event.type = type;
  event.timestamp = time;
  event.locationInWindow = at;
  event.clickCount = clicks;
  return event;
}
inline InputEvent move(double time, Point at = {}) {
  return mouse(EventType::mouseMoved, time, at);
}
inline InputEvent leftDown(double time, Point at = {}, std::int64_t clicks = 1) {
  return mouse(EventType::leftMouseDown, time, at, clicks);
}
inline InputEvent leftUp(double time, Point at = {}, std::int64_t clicks = 1) {
  return mouse(EventType::leftMouseUp, time, at, clicks);
}
inline InputEvent drag(double time, Point at = {}) {
  return mouse(EventType::leftMouseDragged, time, at);
}
inline InputEvent key(EventType type, double time, std::uint16_t code, std::uint64_t flags = 0) {
  InputEvent event;
  event.type = type;
  event.timestamp = time;
  event.keyCode = code;
  event.modifierFlags = flags;
  return event;
}
inline InputEvent keyDown(double time, std::uint16_t code, std::uint64_t flags = 0) {
  return key(EventType::keyDown, time, code, flags);
}
inline InputEvent keyUp(double time, std::uint16_t code, std::uint64_t flags = 0) {
  return key(EventType::keyUp, time, code, flags);
}
inline InputEvent scroll(double time, double deltaX, double deltaY) {
  InputEvent event;
  event.type = EventType::scrollWheel;
  event.timestamp = time;
  event.scrollingDeltaX = deltaX;
  event.scrollingDeltaY = deltaY;
  return event;
}

/// A simulated desktop and the words for what happens on it.
class SimulatedTest : public ::testing::Test {
 protected:
  void deliver(const InputEvent& event) { desktop.inputMonitor.deliver(event); }
  void advance(double seconds) { desktop.runLoop.advance(seconds); }
  /// The lines of the trace since the last call.
  Lines lines() { return desktop.trace.take(); }

  using TypeAndTime = std::pair<EventType, double>;
  /// What was posted, and when.
  std::vector<TypeAndTime> posted() const {
    std::vector<TypeAndTime> events;
    for (const auto& [time, event] : desktop.eventSynthesis.posted()) {
      events.emplace_back(event.type, time);
    }
    return events;
  }
  std::vector<double> postingTimes() const {
    std::vector<double> times;
    for (const auto& [type, time] : posted()) times.push_back(time);
    return times;
  }

  simulated::SimulatedDesktop desktop;
};

}  // namespace tapeloop::testing
