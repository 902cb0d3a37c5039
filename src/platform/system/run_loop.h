#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/observable.h"
#include "platform/run_loop.h"
#include "platform/system/handles.h"
#include "platform/timer_queue.h"

namespace tapeloop::system {

/// Nanoseconds on the clock of the timers. A local X server counts its milliseconds on the same
/// one.
[[nodiscard]] std::int64_t monotonicNow();

/// The calendar time of the machine.
class SystemClock final : public Clock {
 public:
  [[nodiscard]] double date() const override;
};

enum class Readiness : std::uint8_t { readable, writable };

/// Keeps a descriptor watched until it is destroyed or reset, which must happen before the
/// descriptor is closed.
using Watch = Subscription;

/// The run loop on one epoll set, with a timerfd on the monotonic clock in it. It runs alone, or
/// inside another loop that watches `fileDescriptor()`, calls `dispatch()` when that is readable
/// and `endTurn()` before it blocks.
///
/// One turn: read the clock; call the watches whose descriptors are ready; fire the timers that are
/// due, for a few milliseconds at most; run the hooks; arm the timerfd. Each ready descriptor is
/// served once, before the timers, so that neither input nor timers can delay the other for long.
/// Callbacks may run a nested turn.
class EpollRunLoop final : public RunLoop {
 public:
  /// Returns true to be run once more before the loop waits.
  using Hook = std::function<bool()>;

  /// Aborts with a message if the system has no descriptor left.
  EpollRunLoop();
  EpollRunLoop(const EpollRunLoop&) = delete;
  EpollRunLoop& operator=(const EpollRunLoop&) = delete;
  ~EpollRunLoop() override;

  TimerRef scheduledTimerWithTimeInterval(double interval, TimerRepeats repeats,
                                          TimerBlock block) override;
  void takeTime() override;

  /// `callback` runs in each turn in which `descriptor` is ready, closed by its peer or in error;
  /// it must read or write, or remove the watch, or it is called again at once. Several watches may
  /// share a descriptor. Descriptors that epoll can't watch, such as regular files, are never
  /// reported.
  [[nodiscard]] Watch watch(int descriptor, std::function<void()> callback,
                            Readiness readiness = Readiness::readable);

  /// `hook` runs at the end of each turn, before the loop may wait. If any hook returns true all
  /// are run again, after a few rounds in a further turn that does not wait.
  Subscription addBeforeWait(Hook hook);

  /// When this turn began, in nanoseconds on the monotonic clock. Outside of a turn the first call
  /// reads the clock, and the value is kept until `endTurn()`.
  [[nodiscard]] std::int64_t sample();

  /// One turn, without waiting.
  void dispatch();
  /// Runs the hooks, arms the timerfd and discards the time of the turn.
  void endTurn();

  /// Runs turns until `quit`, and returns its exit code.
  int run();
  /// Makes `run` return after the current turn. No effect outside of `run`.
  void quit(int exitCode);

  /// Readable if `dispatch()` has something to do.
  [[nodiscard]] int fileDescriptor() const { return epoll_.get(); }

 private:
  struct Watches;
  struct Hooks;

  void turn(int timeout);
  void fireTimers();
  [[nodiscard]] bool runHooks();
  void arm(std::optional<std::int64_t> deadline);

  FileDescriptor epoll_;
  FileDescriptor timer_;
  std::shared_ptr<Watches> watches_;
  std::shared_ptr<Hooks> hooks_;
  TimerQueue timers_;
  std::optional<std::int64_t> sample_;
  std::optional<std::int64_t> armed_;  // what the timerfd is set to
  std::optional<int> exitCode_;
};

}  // namespace tapeloop::system
