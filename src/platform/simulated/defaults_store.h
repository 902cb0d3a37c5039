#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "platform/memory_defaults_store.h"

namespace tapeloop::simulated {

/// A store in memory whose reads and writes can be made to fail, with simulated writes of another
/// process. Counts reads and writes.
class FaultyDefaultsStore final : public MemoryDefaultsStore {
 public:
  [[nodiscard]] std::optional<DefaultsValue> objectForKey(std::string_view key) const override {
    if (!canRead(key)) return std::nullopt;
    return MemoryDefaultsStore::objectForKey(key);
  }
  [[nodiscard]] std::optional<std::vector<ListElement>> elementsForKey(
      std::string_view key) const override {
    if (!canRead(key)) return std::nullopt;
    return MemoryDefaultsStore::elementsForKey(key);
  }
  [[nodiscard]] std::optional<std::string> elementText(std::int64_t element,
                                                       std::string_view key) const override {
    if (!canRead(key)) return std::nullopt;
    return MemoryDefaultsStore::elementText(element, key);
  }
  [[nodiscard]] StoreStatus statusOfRead(std::string_view key) const override {
    return unread_.contains(key) ? StoreStatus::unavailable : StoreStatus::stored;
  }
  [[nodiscard]] StoreStatus transaction(
      const std::function<void(StoreWriter& writer)>& body) override {
    return status_ == StoreStatus::locked ? status_ : MemoryDefaultsStore::transaction(body);
  }
  [[nodiscard]] std::uint64_t foreignRevision() const override { return foreignRevision_; }

  /// The outcome of writes from now on. While `locked`, transaction bodies do not run.
  void setStatus(StoreStatus status) { status_ = status; }
  /// The outcome of reads from now on.
  void setReadStatus(StoreStatus status) { readStatus_ = status; }
  /// Simulates a write of another process; observers of the key are not called.
  void writeElsewhere(DefaultsValue value, std::string_view key) {
    put(std::move(value), key);
    ++foreignRevision_;
    hasNews_ = true;
  }
  /// Ends the turn of the run loop, which calls the observers of foreign writes.
  void endTurn() {
    if (std::exchange(hasNews_, false)) callForeignWriteObservers();
  }
  /// The number of writes to `key` so far, including failed ones.
  [[nodiscard]] std::size_t writes(std::string_view key) const { return count(writes_, key); }
  [[nodiscard]] std::size_t reads(std::string_view key) const { return count(reads_, key); }

 private:
  using Counts = std::map<std::string, std::size_t, std::less<>>;
  static std::size_t count(const Counts& counts, std::string_view key) {
    const auto known = counts.find(key);
    return known == counts.end() ? 0 : known->second;
  }

  [[nodiscard]] bool canRead(std::string_view key) const {
    ++reads_[std::string(key)];
    if (readStatus_ == StoreStatus::stored) {
      hasNews_ |= unread_.erase(std::string(key)) > 0;
    } else {
      unread_.emplace(key);
    }
    return readStatus_ == StoreStatus::stored;
  }
  StoreStatus admit(std::string_view key) override {
    ++writes_[std::string(key)];
    return status_ != StoreStatus::stored ? status_ : statusOfRead(key);
  }

  StoreStatus status_ = StoreStatus::stored;
  StoreStatus readStatus_ = StoreStatus::stored;
  mutable std::set<std::string, std::less<>> unread_;
  mutable bool hasNews_ = false;
  std::uint64_t foreignRevision_ = 0;
  Counts writes_;
  mutable Counts reads_;
};

}  // namespace tapeloop::simulated
