#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace tapeloop {

/// Keeps a callback connected until it is destroyed or reset. May be destroyed after the object
/// that calls the callback. Move-only.
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

/// A list of callbacks, called in the order in which they were connected. Callbacks may connect and
/// disconnect callbacks: disconnected ones are not called any more, new ones are called from the
/// next time on.
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

/// A value that tells its subscribers when it changes. `State` keeps it in memory, `Setting` in the
/// defaults store.
template <typename T>
class Observable {
 public:
  Observable() = default;
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;
  virtual ~Observable() = default;

  [[nodiscard]] virtual const T& get() const = 0;
  /// Subscribers are called only if the value changes.
  virtual void set(T value) = 0;
  /// `callback` runs after every change; `get` then returns the new value.
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
