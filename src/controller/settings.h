#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/defaults_store.h"
#include "platform/observable.h"

namespace tapeloop {

/// One value of the defaults store with its type and its default. Reading never writes.
///
/// A value that another process has written is used from the next turn of the run loop on, and
/// subscribers are called at the end of that turn. While the store can't be read, the last known
/// value or the default is used, and the next use reads again. A value that the store refused to
/// write holds until the program ends or another value is stored.
template <typename T>
class Setting final : public Observable<T> {
 public:
  Setting(DefaultsStore& store, std::string key, T defaultValue);

  [[nodiscard]] const T& get() const override;
  void set(T value) override;
  Subscription subscribe(std::function<void()> callback) override {
    return changed_.connect(std::move(callback));
  }

 private:
  void load() const;
  void replaceValue(T value) const;
  void storeChanged();
  void othersWrote();
  void notify();

  DefaultsStore& store_;
  const std::string key_;
  const T defaultValue_;
  mutable std::optional<T> value_;      // empty: not read yet
  mutable std::optional<T> notified_;   // the value at the last notification, unless `value_` is
  mutable std::uint64_t revision_ = 0;  // of the store when `value_` was read
  mutable bool isRead_ = false;         // the latest reading of the store succeeded
  mutable bool isStored_ = false;       // the store holds `value_`
  bool isRefused_ = false;              // the store refused `value_` and holds an older one
  bool isWriting_ = false;              // `set` is writing, and calls the subscribers itself
  Signal<> changed_;
  Subscription observation_;
  Subscription foreignObservation_;
};

extern template class Setting<bool>;
extern template class Setting<std::int64_t>;
extern template class Setting<double>;
extern template class Setting<std::string>;

/// Key, type and default of each stored value. All parts of the program share one object.
struct Settings {
  explicit Settings(DefaultsStore& defaults) : store(defaults) {}

  DefaultsStore& store;
  Setting<std::string> startStopButtonText{store, "startStopButtonText", "Record"};
  Setting<bool> key{store, "key", true};
  Setting<double> playbackSpeed{store, "playbackSpeed", 1.0};
  Setting<bool> repeatPlayback{store, "repeatPlayback", false};
  /// Only its integer part counts; below 1 means unlimited.
  Setting<double> timesToRepeat{store, "timesToRepeat", 5.0};
  Setting<std::int64_t> playCount{store, "playCount", 0};
  Setting<bool> waitBeforeRepeating{store, "waitBeforeRepeating", false};
  Setting<std::int64_t> waittimenumber{store, "waittimenumber", 5};
  Setting<std::string> waittimeunit{store, "waittimeunit", "seconds"};
  Setting<bool> isMiniturized{store, "isMiniturized", false};
  Setting<bool> hideDuringRecording{store, "hideDuringRecording", true};
};

}  // namespace tapeloop
