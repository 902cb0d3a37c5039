#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/defaults_store.h"
#include "platform/observable.h"

namespace tapeloop {

/// A store in memory, used when the store file can't be opened.
class MemoryDefaultsStore : public DefaultsStore {
 public:
  [[nodiscard]] std::optional<DefaultsValue> objectForKey(std::string_view key) const override {
    const auto known = values_.find(key);
    if (known == values_.end()) return std::nullopt;
    return known->second;
  }

  [[nodiscard]] StoreStatus statusOfRead(std::string_view) const override {
    return StoreStatus::stored;
  }

  [[nodiscard]] StoreStatus setObjectForKey(const DefaultsValue& value,
                                            std::string_view key) override {
    put(value, key);
    callObservers(key);
    return StoreStatus::stored;
  }

  [[nodiscard]] StoreStatus transaction(
      const std::function<void(const Writer& write)>& body) override {
    std::vector<std::pair<std::string, DefaultsValue>> writes;
    body([&writes](const DefaultsView& value, std::string_view key) {
      writes.emplace_back(key, valueOf(value));
    });
    for (auto& [key, value] : writes) put(std::move(value), key);
    for (const auto& [key, value] : writes) callObservers(key);
    return StoreStatus::stored;
  }

  [[nodiscard]] std::uint64_t foreignRevision() const override { return 0; }

  Subscription observe(std::string_view key, std::function<void()> callback) override {
    return observers_[std::string(key)].connect(std::move(callback));
  }

  Subscription observeForeignWrites(std::function<void()> callback) override {
    return foreignWrites_.connect(std::move(callback));
  }

 protected:
  void callForeignWriteObservers() const { foreignWrites_(); }
  void put(DefaultsValue value, std::string_view key) {
    values_.insert_or_assign(std::string(key), std::move(value));
  }

 private:
  static DefaultsValue valueOf(const DefaultsView& view) {
    if (const auto* text = std::get_if<std::string_view>(&view)) return std::string(*text);
    if (const auto* real = std::get_if<double>(&view)) return *real;
    if (const auto* integer = std::get_if<std::int64_t>(&view)) return *integer;
    return std::get<bool>(view);
  }
  void callObservers(std::string_view key) {
    if (const auto known = observers_.find(key); known != observers_.end()) known->second();
  }

  std::map<std::string, DefaultsValue, std::less<>> values_;
  std::map<std::string, Signal<>, std::less<>> observers_;
  Signal<> foreignWrites_;
};

}  // namespace tapeloop
