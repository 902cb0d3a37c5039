#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/defaults_store.h"
#include "platform/signal.h"

namespace tapeloop {

/// A store that is gone with the program: for a run whose real store can't be opened. Main thread
/// only.
class MemoryDefaultsStore : public DefaultsStore {
 public:
  [[nodiscard]] std::optional<DefaultsValue> objectForKey(std::string_view key) const override {
    const auto known = values_.find(key);
    if (known == values_.end()) return std::nullopt;
    return known->second;
  }

  [[nodiscard]] StoreStatus setObjectForKey(const DefaultsValue& value,
                                            std::string_view key) override {
    values_.insert_or_assign(std::string(key), value);
    if (const auto observers = observers_.find(key); observers != observers_.end()) {
      observers->second();
    }
    return StoreStatus::stored;
  }

  Subscription observe(std::string_view key, std::function<void()> callback) override {
    return observers_[std::string(key)].connect(std::move(callback));
  }

 private:
  std::map<std::string, DefaultsValue, std::less<>> values_;
  std::map<std::string, Signal<>, std::less<>> observers_;
};

}  // namespace tapeloop
