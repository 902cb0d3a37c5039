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

}  // namespace tapeloop
