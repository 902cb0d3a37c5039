#include "controller/settings.h"

#include <utility>
#include <variant>

namespace tapeloop {

template <typename T>
Setting<T>::Setting(DefaultsStore& store, std::string key, T defaultValue)
    : store_(store),
      key_(std::move(key)),
      defaultValue_(std::move(defaultValue)),
      observation_(store.observe(key_, [this] { storeChanged(); })),
      foreignObservation_(store.observeForeignWrites([this] { othersWrote(); })) {}

template <typename T>
const T& Setting<T>::get() const {
  if (isRefused_) return *value_;
  const std::uint64_t revision = store_.foreignRevision();
  if (!isRead_ || revision != revision_) load();
  revision_ = revision;
  return *value_;
}

// A key that is absent, or of another type, is not what `set` would leave behind: it is written
// even if the value stays the same.
template <typename T>
void Setting<T>::set(T value) {
  if (get() == value && isStored_) return;
  // One that could not be read is not written before it can.
  if (isRefused_) load();
  take(value);
  isWriting_ = true;
  isRefused_ = store_.setObjectForKey(std::move(value), key_) != StoreStatus::stored;
  isWriting_ = false;
  if (isRefused_) isStored_ = false;
  tell();
}

template <typename T>
void Setting<T>::load() const {
  const auto object = store_.objectForKey(key_);
  isRead_ = object || store_.statusOfRead(key_) == StoreStatus::stored;
  const T* const known = object ? std::get_if<T>(&*object) : nullptr;
  isStored_ = known != nullptr;
  if (isRead_ || !value_) take(known ? *known : defaultValue_);
}

template <typename T>
void Setting<T>::take(T value) const {
  if (value_ && !shown_ && !(*value_ == value)) shown_ = std::move(value_);
  value_ = std::move(value);
}

// Also called for writes of our own, which find the value as it is.
template <typename T>
void Setting<T>::storeChanged() {
  isRefused_ = false;
  load();
  if (!isWriting_) tell();
}

template <typename T>
void Setting<T>::othersWrote() {
  if (value_) (void)get();
  tell();
}

template <typename T>
void Setting<T>::tell() {
  const std::optional<T> shown = std::exchange(shown_, std::nullopt);
  if (shown && !(*shown == *value_)) changed_();
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
