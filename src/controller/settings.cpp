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

// An absent key, or one with a value of another type, is written even if `value` is the default.
template <typename T>
void Setting<T>::set(T value) {
  if (get() == value && isStored_) return;
  // The store refuses to write a key until it could be read.
  if (isRefused_) load();
  replaceValue(value);
  isWriting_ = true;
  isRefused_ = store_.setObjectForKey(std::move(value), key_) != StoreStatus::stored;
  isWriting_ = false;
  if (isRefused_) isStored_ = false;
  notify();
}

template <typename T>
void Setting<T>::load() const {
  const auto object = store_.objectForKey(key_);
  isRead_ = object || store_.statusOfRead(key_) == StoreStatus::stored;
  const T* const known = object ? std::get_if<T>(&*object) : nullptr;
  isStored_ = known != nullptr;
  if (isRead_ || !value_) replaceValue(known ? *known : defaultValue_);
}

template <typename T>
void Setting<T>::replaceValue(T value) const {
  if (value_ && !notified_ && !(*value_ == value)) notified_ = std::move(value_);
  value_ = std::move(value);
}

// Runs for every write through this store object, also from within `set`.
template <typename T>
void Setting<T>::storeChanged() {
  isRefused_ = false;
  load();
  if (!isWriting_) notify();
}

template <typename T>
void Setting<T>::othersWrote() {
  if (value_) (void)get();
  notify();
}

template <typename T>
void Setting<T>::notify() {
  const std::optional<T> before = std::exchange(notified_, std::nullopt);
  if (before && !(*before == *value_)) changed_();
}

template class Setting<bool>;
template class Setting<std::int64_t>;
template class Setting<double>;
template class Setting<std::string>;

}  // namespace tapeloop
