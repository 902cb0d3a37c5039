#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/input_event.h"
#include "platform/observable.h"

namespace tapeloop {

/// Names one installed monitor.
enum class MonitorToken : std::uint64_t {};

/// Observes input anywhere on the desktop without consuming or altering it.
class InputMonitor {
 public:
  /// The pointer is never null; what it points to lives for the call.
  using Handler = std::function<void(const InputEvent*)>;

  virtual ~InputMonitor() = default;

  /// `handler` runs on the main thread, once for each event of an admitted type that is directed at
  /// another application, in order of delivery. Nothing on failure.
  virtual std::optional<MonitorToken> addGlobalMonitorForEventsMatchingMask(EventMask mask,
                                                                            Handler handler) = 0;

  /// Delivers what happened before the call and has not been delivered yet, and then nothing more.
  /// An unknown token is ignored.
  virtual void removeMonitor(MonitorToken token) = 0;
};

/// Names one installed local monitor.
enum class LocalMonitorToken : std::uint64_t {};

enum class EventPass : std::uint8_t {
  passOn,   ///< The window handles the event.
  swallow,  ///< Nobody sees it.
};

/// Sees the input that is directed at the program's own windows before they do, and may keep it
/// from them. Positions are points from the top-left corner of the window that gets the event,
/// downwards. Modifier keys alone are no key events. Main thread only.
class LocalInputMonitor {
 public:
  using Handler = std::function<EventPass(const InputEvent&)>;

  virtual ~LocalInputMonitor() = default;
  /// `handler` runs for each event of an admitted type. It may add and remove monitors.
  virtual std::optional<LocalMonitorToken> addLocalMonitorForEventsMatchingMask(
      EventMask mask, Handler handler) = 0;
  /// An unknown token is ignored.
  virtual void removeMonitor(LocalMonitorToken token) = 0;

  /// While keys are monitored no other program gets the keyboard, be it to lock the screen. One has
  /// tried to: the monitors of keys should go.
  virtual Subscription onKeyboardWanted(std::function<void()> callback) = 0;
};

}  // namespace tapeloop
