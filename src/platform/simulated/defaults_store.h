#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/defaults_store.h"
#include "platform/memory_defaults_store.h"

namespace tapeloop::simulated {

/// A store in memory whose writes can be made to fail. Counts the writes that it was asked for.
class FaultyDefaultsStore final : public DefaultsStore {
 public:
  [[nodiscard]] std::optional<DefaultsValue> objectForKey(std::string_view key) const override {
    return store_.objectForKey(key);
  }
  [[nodiscard]] StoreStatus setObjectForKey(const DefaultsValue& value,
                                            std::string_view key) override {
    ++writes_[std::string(key)];
    if (status_ != StoreStatus::stored) return status_;
    return store_.setObjectForKey(value, key);
  }
  Subscription observe(std::string_view key, std::function<void()> callback) override {
    return store_.observe(key, std::move(callback));
  }

  /// What becomes of writes from now on.
  void setStatus(StoreStatus status) { status_ = status; }
  /// Writes under `key` so far, those that failed included.
  [[nodiscard]] std::size_t writes(std::string_view key) const {
    const auto known = writes_.find(key);
    return known == writes_.end() ? 0 : known->second;
  }

 private:
  MemoryDefaultsStore store_;
  StoreStatus status_ = StoreStatus::stored;
  std::map<std::string, std::size_t, std::less<>> writes_;
};

}  // namespace tapeloop::simulated
