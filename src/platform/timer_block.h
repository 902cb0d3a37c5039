#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace tapeloop {

class Timer;
using TimerRef = std::shared_ptr<Timer>;

/// What a timer does when it fires; it receives the timer itself. Move-only. A closure of up to 32
/// bytes lies in the block itself, so that a long run does not take a piece of memory per event.
class TimerBlock {
 public:
  TimerBlock() = default;
  TimerBlock(std::nullptr_t) {}
  template <typename Function,
            typename = std::enable_if_t<!std::same_as<std::remove_cvref_t<Function>, TimerBlock> &&
                                        std::invocable<std::decay_t<Function>&, const TimerRef&>>>
  TimerBlock(Function&& function) {
    using Closure = std::decay_t<Function>;
    if constexpr (canBeEmpty<Closure>) {
      // An empty std::function makes an empty block.
      if (!static_cast<bool>(function)) return;
    }
    if constexpr (fits<Closure>) {
      ::new (storage_.data()) Closure(std::forward<Function>(function));
      actions_ = &Inline<Closure>::actions;
    } else {
      ::new (storage_.data()) Closure*(new Closure(std::forward<Function>(function)));
      actions_ = &Distant<Closure>::actions;
    }
  }
  TimerBlock(TimerBlock&& other) noexcept : actions_(std::exchange(other.actions_, nullptr)) {
    if (actions_) actions_->move(storage_.data(), other.storage_.data());
  }
  TimerBlock& operator=(TimerBlock&& other) noexcept {
    if (this == &other) return *this;
    // Moved out first: what a closure owns may come back here while it is being destroyed.
    const TimerBlock gone(std::move(*this));
    actions_ = std::exchange(other.actions_, nullptr);
    if (actions_) actions_->move(storage_.data(), other.storage_.data());
    return *this;
  }
  ~TimerBlock() {
    if (actions_) actions_->destroy(storage_.data());
  }

  explicit operator bool() const { return actions_ != nullptr; }
  void operator()(const TimerRef& timer) { actions_->call(storage_.data(), timer); }

 private:
  struct Actions {
    void (*call)(void*, const TimerRef&);
    void (*move)(void* target, void* source);  // leaves nothing to destroy at `source`
    void (*destroy)(void*);
  };
  static constexpr std::size_t capacity = 32;
  using Storage = std::array<std::byte, capacity>;

  // Asked of its own operator: a lambda is true too, as the function that it can become.
  template <typename Closure>
  static constexpr bool canBeEmpty = std::is_pointer_v<Closure> ||
                                     requires(const Closure& closure) {
    closure.operator bool();
  };
  template <typename Closure>
  static constexpr bool isAligned = alignof(Closure) <= alignof(void*);
  template <typename Closure>
  static constexpr bool fits =
      sizeof(
          Closure) <= capacity&& isAligned<Closure>&& std::is_nothrow_move_constructible_v<Closure>;

  template <typename Closure>
  struct Inline {
    static Closure& at(void* storage) { return *std::launder(static_cast<Closure*>(storage)); }
    static constexpr Actions actions = {
        [](void* storage, const TimerRef& timer) { at(storage)(timer); },
        [](void* target, void* source) {
          ::new (target) Closure(std::move(at(source)));
          at(source).~Closure();
        },
        [](void* storage) { at(storage).~Closure(); }};
  };
  template <typename Closure>
  struct Distant {
    static Closure*& at(void* storage) { return *std::launder(static_cast<Closure**>(storage)); }
    static constexpr Actions actions = {
        [](void* storage, const TimerRef& timer) { (*at(storage))(timer); },
        [](void* target, void* source) { ::new (target) Closure*(at(source)); },
        [](void* storage) { delete at(storage); }};
  };

  const Actions* actions_ = nullptr;
  alignas(void*) Storage storage_;
};

}  // namespace tapeloop
