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

/// Keeps a descriptor watched; letting go of it ends that. To be let go of before the descriptor is
/// closed. May outlive the loop.
using Watch = Subscription;

/// The run loop on one epoll set, with a timerfd on the monotonic clock in it. It runs alone, or
/// inside another loop that watches `fileDescriptor()`, calls `dispatch()` when that is readable
/// and `endTurn()` before it blocks. Main thread only.
///
/// One turn: take the time; call whoever's descriptor is ready; fire the timers that are due, for a
/// few milliseconds at most; run the hooks; arm the timerfd. Descriptors come first and once, so
/// that neither input nor timers can hold up the other for long. A turn may be entered again from
/// one of its own callbacks.
class EpollRunLoop final : public RunLoop {
 public:
  /// True when it has to be run once more before the loop waits.
  using Hook = std::function<bool()>;

  /// Ends the program with a message when the system has no descriptor left.
  EpollRunLoop();
  EpollRunLoop(const EpollRunLoop&) = delete;
  EpollRunLoop& operator=(const EpollRunLoop&) = delete;
  ~EpollRunLoop() override;

  TimerRef scheduledTimerWithTimeInterval(double interval, TimerRepeats repeats,
                                          TimerBlock block) override;
  void takeTime() override;

  /// `callback` runs in each turn that finds `descriptor` ready, closed by its peer or in error; it
  /// must then take away the cause or the watch. Several watches may share a descriptor. One that
  /// can't be waited for, such as a regular file, is never reported.
  [[nodiscard]] Watch watch(int descriptor, std::function<void()> callback,
                            Readiness readiness = Readiness::readable);

  /// `hook` runs at the end of each turn, before the timerfd is armed: the place for what must not
  /// be left lying while the loop waits. As long as any hook asks for it all are run again, in this
  /// turn or in one that follows at once.
  Subscription addBeforeWait(Hook hook);

  /// The time of this turn, in nanoseconds on the monotonic clock. Outside of a turn the first use
  /// takes it, and it holds until `endTurn()`.
  [[nodiscard]] std::int64_t sample();

  /// One turn, without waiting.
  void dispatch();
  /// Runs the hooks, arms the timerfd and forgets the time of the turn.
  void endTurn();

  /// Turns the loop until `quit`, and returns its exit code.
  int run();
  /// Ends `run` with the turn that is under way. Does nothing when the loop does not run.
  void quit(int exitCode);

  /// Readable when `dispatch()` has something to do.
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
