#pragma once

#include <functional>
#include <utility>

#include "platform/signal.h"

namespace tapeloop {

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
