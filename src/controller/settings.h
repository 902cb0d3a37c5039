#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/defaults_store.h"
#include "platform/observable.h"

namespace tapeloop {

/// One value of the defaults store with its type and its default. Reading never writes. A value
/// that the store refused to write holds for this run all the same.
template <typename T>
class Setting final : public Observable<T> {
 public:
  /// `store` outlives the setting.
  Setting(DefaultsStore& store, std::string key, T defaultValue);

  [[nodiscard]] const T& get() const override;
  void set(T value) override;
  Subscription subscribe(std::function<void()> callback) override {
    return changed_.connect(std::move(callback));
  }

 private:
  void load() const;
  void storeChanged();

  DefaultsStore& store_;
  const std::string key_;
  const T defaultValue_;
  mutable std::optional<T> value_;  // empty: not read yet
  mutable bool stored_ = false;     // the store holds `value_`
  Signal<> changed_;
  Subscription observation_;
};

extern template class Setting<bool>;
extern template class Setting<std::int64_t>;
extern template class Setting<double>;
extern template class Setting<std::string>;

/// Every setting, declared once. The views share one object.
struct Settings {
  explicit Settings(DefaultsStore& store);

  Setting<std::string> startStopButtonText;
  Setting<bool> key;
  Setting<double> playbackSpeed;
  Setting<bool> repeatPlayback;
  Setting<double> timesToRepeat;  ///< Only its integer part counts; below 1 means unlimited.
  Setting<std::int64_t> playCount;
  Setting<bool> waitBeforeRepeating;
  Setting<std::int64_t> waittimenumber;
  Setting<std::string> waittimeunit;
  Setting<bool> isMiniturized;
  Setting<bool> hideDuringRecording;
};

}  // namespace tapeloop
