#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace tapeloop {

/// Keeps one callback connected; letting go of it disconnects. It may outlive what it is connected
/// to. Move-only.
class [[nodiscard]] Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      reset();
      cancel_ = std::exchange(other.cancel_, nullptr);
    }
    return *this;
  }
  ~Subscription() { reset(); }

  void reset() {
    if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
  }

 private:
  std::function<void()> cancel_;
};

/// A list of callbacks, called in the order in which they were connected. A callback may connect
/// and disconnect others while it runs: those that were disconnected are not called any more, those
/// that were connected are called from the next time on.
template <typename... Arguments>
class Signal {
 public:
  using Callback = std::function<void(Arguments...)>;

  Subscription connect(Callback callback) {
    auto slot = std::make_shared<Callback>(std::move(callback));
    slots_->push_back(slot);
    return Subscription([slots = std::weak_ptr(slots_), slot = std::weak_ptr(slot)] {
      const auto gone = slot.lock();
      if (!gone) return;
      *gone = nullptr;
      if (const auto list = slots.lock()) std::erase(*list, gone);
    });
  }

  void operator()(Arguments... arguments) const {
    if (slots_->empty()) return;
    const auto slots = *slots_;
    for (const auto& slot : slots) {
      if (const auto callback = *slot) callback(arguments...);
    }
  }

 private:
  using Slots = std::vector<std::shared_ptr<Callback>>;
  std::shared_ptr<Slots> slots_ = std::make_shared<Slots>();
};

/// A value that views show and procedures read and write: get, set, subscribe. Where the value
/// lives, in memory or in the defaults store, is the subclass's business. Main thread only.
template <typename T>
class Observable {
 public:
  Observable() = default;
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;
  virtual ~Observable() = default;

  [[nodiscard]] virtual const T& get() const = 0;
  /// Subscribers hear of it only if the value changes.
  virtual void set(T value) = 0;
  /// `callback` runs after every change; the new value is read with `get`.
  virtual Subscription subscribe(std::function<void()> callback) = 0;
};

/// An observable value in memory.
template <typename T>
class State : public Observable<T> {
 public:
  State() = default;
  explicit State(T initial) : value_(std::move(initial)) {}

  [[nodiscard]] const T& get() const override { return value_; }
  void set(T value) override {
    if (value_ == value) return;
    value_ = std::move(value);
    changed_();
  }
  Subscription subscribe(std::function<void()> callback) override {
    return changed_.connect(std::move(callback));
  }

 private:
  T value_{};
  Signal<> changed_;
};

}  // namespace tapeloop
