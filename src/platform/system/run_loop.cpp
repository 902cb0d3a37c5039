#include "platform/system/run_loop.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <time.h>

namespace tapeloop::system {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t timerBudget = 4'000'000;
// Reading the clock costs about as much as a short block. The budget is exceeded by at most this
// many blocks.
constexpr int firingsBetweenClockReads = 8;
constexpr int hookRounds = 8;
constexpr std::size_t eventsPerTurn = 64;
constexpr std::uint64_t timerKey = 0;

FileDescriptor require(int descriptor, const char* what) {
  if (descriptor < 0) {
    std::perror(what);
    std::abort();
  }
  return FileDescriptor(descriptor);
}

}  // namespace

std::int64_t monotonicNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

double SystemClock::date() const {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// epoll accepts a descriptor only once, so several watches of one share an entry. Entries have
/// keys that are never reused: if a callback closes a descriptor and its number is used for a new
/// one, an event of the old one in the same batch matches no entry.
struct EpollRunLoop::Watches {
  using Callback = std::function<void()>;
  struct Watcher {
    Readiness readiness;
    Callback callback;
  };
  struct Entry {
    std::uint64_t key;
    int descriptor;
    std::vector<std::shared_ptr<Watcher>> watchers;
  };

  int epoll;
  std::uint64_t nextKey = timerKey + 1;
  std::vector<Entry> entries;

  void apply(int operation, const Entry& entry) const {
    epoll_event event{};
    for (const auto& watcher : entry.watchers) {
      event.events |= watcher->readiness == Readiness::readable ? EPOLLIN : EPOLLOUT;
    }
    event.data.u64 = entry.key;
    // Fails for regular files, which are then never reported.
    epoll_ctl(epoll, operation, entry.descriptor, &event);
  }

  void add(int descriptor, std::shared_ptr<Watcher> watcher) {
    const auto known = std::ranges::find(entries, descriptor, &Entry::descriptor);
    if (known != entries.end()) {
      known->watchers.push_back(std::move(watcher));
      apply(EPOLL_CTL_MOD, *known);
      return;
    }
    entries.push_back({nextKey++, descriptor, {std::move(watcher)}});
    apply(EPOLL_CTL_ADD, entries.back());
  }

  void remove(const std::shared_ptr<Watcher>& watcher) {
    const auto entry = std::ranges::find_if(entries, [&](const Entry& candidate) {
      return std::ranges::find(candidate.watchers, watcher) != candidate.watchers.end();
    });
    if (entry == entries.end()) return;
    std::erase(entry->watchers, watcher);
    apply(entry->watchers.empty() ? EPOLL_CTL_DEL : EPOLL_CTL_MOD, *entry);
    if (entry->watchers.empty()) entries.erase(entry);
    watcher->callback = nullptr;
  }

  void report(std::uint64_t key, std::uint32_t events) const {
    const auto entry = std::ranges::find(entries, key, &Entry::key);
    if (entry == entries.end()) return;
    const bool broken = (events & (EPOLLHUP | EPOLLERR)) != 0;
    const auto watchers = entry->watchers;
    for (const auto& watcher : watchers) {
      const std::uint32_t wanted = watcher->readiness == Readiness::readable ? EPOLLIN : EPOLLOUT;
      if (!broken && (events & wanted) == 0) continue;
      // Copied: the callback may remove its own watch, which destroys what the original captured.
      if (const auto callback = watcher->callback) callback();
    }
  }
};

struct EpollRunLoop::Hooks {
  std::vector<std::shared_ptr<Hook>> list;
};

EpollRunLoop::EpollRunLoop()
    : epoll_(require(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      timer_(
          require(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create")),
      watches_(std::make_shared<Watches>()),
      hooks_(std::make_shared<Hooks>()) {
  watches_->epoll = epoll_.get();
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = timerKey;
  epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, timer_.get(), &event);
}

EpollRunLoop::~EpollRunLoop() = default;

TimerRef EpollRunLoop::scheduledTimerWithTimeInterval(double interval, TimerRepeats repeats,
                                                      TimerBlock block) {
  return timers_.schedule(sample(), interval, repeats, std::move(block));
}

void EpollRunLoop::takeTime() {
  sample_ = monotonicNow();
}

Watch EpollRunLoop::watch(int descriptor, std::function<void()> callback, Readiness readiness) {
  auto watcher =
      std::make_shared<Watches::Watcher>(Watches::Watcher{readiness, std::move(callback)});
  watches_->add(descriptor, watcher);
  return Watch([watches = std::weak_ptr(watches_), watcher] {
    if (const auto known = watches.lock()) known->remove(watcher);
  });
}

Subscription EpollRunLoop::addBeforeWait(Hook hook) {
  auto kept = std::make_shared<Hook>(std::move(hook));
  hooks_->list.push_back(kept);
  return Subscription([hooks = std::weak_ptr(hooks_), kept] {
    *kept = nullptr;
    if (const auto known = hooks.lock()) std::erase(known->list, kept);
  });
}

std::int64_t EpollRunLoop::sample() {
  if (!sample_) sample_ = monotonicNow();
  return *sample_;
}

void EpollRunLoop::dispatch() {
  turn(0);
}

void EpollRunLoop::endTurn() {
  const bool moreToDo = runHooks();
  // With a deadline in the past the timerfd is readable at once.
  arm(moreToDo ? std::optional<std::int64_t>(0) : timers_.nextDeadline());
  sample_.reset();
}

int EpollRunLoop::run() {
  exitCode_.reset();
  endTurn();
  while (!exitCode_) turn(-1);
  return *exitCode_;
}

void EpollRunLoop::quit(int exitCode) {
  exitCode_ = exitCode;
}

void EpollRunLoop::turn(int timeout) {
  std::array<epoll_event, eventsPerTurn> events;
  const int count =
      epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), timeout);
  sample_ = monotonicNow();
  for (int i = 0; i < count; ++i) {
    if (events[i].data.u64 != timerKey) watches_->report(events[i].data.u64, events[i].events);
  }
  fireTimers();
  endTurn();
}

void EpollRunLoop::fireTimers() {
  const std::int64_t now = sample();
  timers_.beginPass();
  std::int64_t start = 0;
  for (int fired = 0; timers_.fireNext(now); ++fired) {
    if (fired % firingsBetweenClockReads != 0) continue;
    const std::int64_t time = monotonicNow();
    if (fired == 0) start = time;
    if (time - start >= timerBudget) break;
  }
}

bool EpollRunLoop::runHooks() {
  bool again = true;
  for (int round = 0; again && round < hookRounds; ++round) {
    again = false;
    const auto hooks = hooks_->list;
    for (const auto& hook : hooks) {
      if (const auto call = *hook) again |= call();
    }
  }
  return again;
}

void EpollRunLoop::arm(std::optional<std::int64_t> deadline) {
  // 0 would disarm the timerfd.
  if (deadline) deadline = std::max<std::int64_t>(*deadline, 1);
  if (deadline == armed_) return;
  itimerspec setting{};
  if (deadline) {
    setting.it_value.tv_sec = *deadline / nanosecondsPerSecond;
    setting.it_value.tv_nsec = *deadline % nanosecondsPerSecond;
  }
  timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &setting, nullptr);
  armed_ = deadline;
}

}  // namespace tapeloop::system
