#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "platform/observable.h"

namespace tapeloop {

/// One value for each row of a list, by position. Grows with the list and never shrinks; a row
/// that it has not grown to yet has the initial value. Main thread only.
template <typename T>
class RowValues {
 public:
  RowValues(std::size_t size, T initial) : initial_(std::move(initial)), values_(size, initial_) {}
  RowValues(const RowValues&) = delete;
  RowValues& operator=(const RowValues&) = delete;

  [[nodiscard]] std::size_t size() const { return values_.size(); }
  [[nodiscard]] T get(std::size_t row) const { return row < size() ? values_[row] : initial_; }
  void set(std::size_t row, T value) {
    growTo(row + 1);
    if (values_[row] == value) return;
    values_[row] = std::move(value);
    changed_(row);
  }
  void growTo(std::size_t size) { values_.resize(std::max(size, values_.size()), initial_); }

  /// `callback` is told the row whose value has changed.
  Subscription subscribe(std::function<void(std::size_t)> callback) {
    return changed_.connect(std::move(callback));
  }

 private:
  const T initial_;
  std::vector<T> values_;
  Signal<std::size_t> changed_;
};

}  // namespace tapeloop
