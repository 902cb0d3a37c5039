#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/memory_defaults_store.h"

namespace tapeloop::simulated {

/// A store in memory whose writes can be made to fail, and that another process can write to.
/// Counts the writes that it was asked for, and the reads.
class FaultyDefaultsStore final : public MemoryDefaultsStore {
 public:
  [[nodiscard]] std::optional<DefaultsValue> objectForKey(std::string_view key) const override {
    ++reads_[std::string(key)];
    return MemoryDefaultsStore::objectForKey(key);
  }
  [[nodiscard]] StoreStatus setObjectForKey(const DefaultsValue& value,
                                            std::string_view key) override {
    ++writes_[std::string(key)];
    if (status_ != StoreStatus::stored) return status_;
    return MemoryDefaultsStore::setObjectForKey(value, key);
  }
  /// The store is had, and what is written then fails.
  [[nodiscard]] StoreStatus transaction(
      const std::function<void(const Writer& write)>& body) override {
    if (status_ == StoreStatus::locked) return status_;
    const auto counted = [this](const Writer& write) {
      return Writer([this, &write](const DefaultsView& value, std::string_view key) {
        ++writes_[std::string(key)];
        if (status_ == StoreStatus::stored) write(value, key);
      });
    };
    const auto result =
        MemoryDefaultsStore::transaction([&](const Writer& write) { body(counted(write)); });
    return status_ == StoreStatus::stored ? result : status_;
  }
  [[nodiscard]] std::uint64_t foreignRevision() const override { return foreignRevision_; }

  /// What becomes of writes from now on. A store that is locked isn't had at all.
  void setStatus(StoreStatus status) { status_ = status; }
  /// What another process does: the observers don't hear of it.
  void writeElsewhere(DefaultsValue value, std::string_view key) {
    put(std::move(value), key);
    ++foreignRevision_;
  }
  /// Writes under `key` so far, those that failed included.
  [[nodiscard]] std::size_t writes(std::string_view key) const { return count(writes_, key); }
  [[nodiscard]] std::size_t reads(std::string_view key) const { return count(reads_, key); }

 private:
  using Counts = std::map<std::string, std::size_t, std::less<>>;
  static std::size_t count(const Counts& counts, std::string_view key) {
    const auto known = counts.find(key);
    return known == counts.end() ? 0 : known->second;
  }

  StoreStatus status_ = StoreStatus::stored;
  std::uint64_t foreignRevision_ = 0;
  Counts writes_;
  mutable Counts reads_;
};

}  // namespace tapeloop::simulated
