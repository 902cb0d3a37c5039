#include "controller/settings.h"

#include <utility>
#include <variant>

namespace tapeloop {

template <typename T>
Setting<T>::Setting(DefaultsStore& store, std::string key, T defaultValue)
    : store_(store),
      key_(std::move(key)),
      defaultValue_(std::move(defaultValue)),
      observation_(store.observe(key_, [this] { storeChanged(); })) {}

template <typename T>
const T& Setting<T>::get() const {
  if (!value_) load();
  return *value_;
}

// A key that is absent, or of another type, is not what `set` would leave behind: it is written
// even if the value stays the same.
template <typename T>
void Setting<T>::set(T value) {
  const bool changes = !(get() == value);
  if (!changes && stored_) return;
  value_ = value;
  stored_ = store_.setObjectForKey(std::move(value), key_) == StoreStatus::stored;
  if (changes) changed_();
}

template <typename T>
void Setting<T>::load() const {
  const auto object = store_.objectForKey(key_);
  const T* const known = object ? std::get_if<T>(&*object) : nullptr;
  stored_ = known != nullptr;
  value_ = known ? *known : defaultValue_;
}

// Also called for writes of our own, which find the value as it is.
template <typename T>
void Setting<T>::storeChanged() {
  const std::optional<T> before = std::exchange(value_, std::nullopt);
  load();
  if (before && !(*before == *value_)) changed_();
}

template class Setting<bool>;
template class Setting<std::int64_t>;
template class Setting<double>;
template class Setting<std::string>;

Settings::Settings(DefaultsStore& store)
    : startStopButtonText(store, "startStopButtonText", "Record"),
      key(store, "key", true),
      playbackSpeed(store, "playbackSpeed", 1.0),
      repeatPlayback(store, "repeatPlayback", false),
      timesToRepeat(store, "timesToRepeat", 5.0),
      playCount(store, "playCount", 0),
      waitBeforeRepeating(store, "waitBeforeRepeating", false),
      waittimenumber(store, "waittimenumber", 5),
      waittimeunit(store, "waittimeunit", "seconds"),
      isMiniturized(store, "isMiniturized", false),
      hideDuringRecording(store, "hideDuringRecording", true) {}

}  // namespace tapeloop
