#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/defaults_store.h"
#include "platform/observable.h"

namespace tapeloop {

/// One value of the defaults store with its type and its default. Reading never writes.
///
/// What another process has written counts from the next turn of the run loop in which the value is
/// used; subscribers hear of it at the end of that turn. One that can't be read counts as before,
/// or as the default, and is read again when it is used next. A value that the store refused to
/// write holds for this run, or until another one is stored.
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
  void take(T value) const;
  void storeChanged();
  void othersWrote();
  void tell();

  DefaultsStore& store_;
  const std::string key_;
  const T defaultValue_;
  mutable std::optional<T> value_;      // empty: not read yet
  mutable std::optional<T> shown_;      // what subscribers know, unless that is `value_`
  mutable std::uint64_t revision_ = 0;  // of the store when `value_` was read
  mutable bool isRead_ = false;         // empty or not, the store said what it holds
  mutable bool isStored_ = false;       // the store holds `value_`
  bool isRefused_ = false;              // the store took no `value_`: what it holds is older
  bool isWriting_ = false;
  Signal<> changed_;
  Subscription observation_;
  Subscription foreignObservation_;
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
