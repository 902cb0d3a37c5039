#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/observable.h"

namespace tapeloop {

using DefaultsValue = std::variant<bool, std::int64_t, double, std::string>;
/// A value to be written, whose text may be long and stays where it is.
using DefaultsView = std::variant<bool, std::int64_t, double, std::string_view>;

[[nodiscard]] inline DefaultsView viewOf(const DefaultsValue& value) {
  return std::visit([](const auto& held) { return DefaultsView(held); }, value);
}

/// What became of a write. Whatever else than `stored` it is, the store holds what it held before.
enum class StoreStatus : std::uint8_t {
  stored,
  readOnly,     ///< The file or its folder can't be written to.
  diskFull,     ///< No room, or a quota is used up.
  locked,       ///< Another process holds the store and did not let go in time.
  damaged,      ///< The file is not a store, or is broken.
  newer,        ///< The file is in a form that only later versions of the program know.
  unavailable,  ///< The store could not be opened at all, or the system failed in another way.
};

/// The per-user defaults store: one typed value a key. Main thread only.
class DefaultsStore {
 public:
  virtual ~DefaultsStore() = default;

  /// Nothing when the key was never set, or can't be read.
  [[nodiscard]] virtual std::optional<DefaultsValue> objectForKey(std::string_view key) const = 0;

  /// What the latest `objectForKey` of this key came to: other than `stored` if there is something
  /// that can't be read. Until it can, the key refuses to be written: the new value would have been
  /// made without knowing the old one.
  [[nodiscard]] virtual StoreStatus statusOfRead(std::string_view key) const = 0;

  /// When this returns `stored` the value outlives a crash of the program and of the machine.
  [[nodiscard]] virtual StoreStatus setObjectForKey(const DefaultsValue& value,
                                                    std::string_view key) = 0;

  using Writer = std::function<void(const DefaultsView& value, std::string_view key)>;
  /// Stores together what `body` hands to its argument: all of it or, when one write is refused,
  /// nothing. From before `body` starts until then no other process writes, so that what `body`
  /// reads with `objectForKey` still holds when its writes are stored. `body` does not run if the
  /// store can't be had for writing. It writes through its argument alone, and need not read back
  /// what it wrote. Observers run afterwards.
  [[nodiscard]] virtual StoreStatus transaction(
      const std::function<void(const Writer& write)>& body) = 0;

  /// Another number than before if another process may have written in between, or another store
  /// stands in this one's place. Writes through this object don't count. Cheap enough to be asked
  /// for each use of a value: the answer may be that of a moment ago, within one turn of the run
  /// loop. In a transaction it is that of now.
  [[nodiscard]] virtual std::uint64_t foreignRevision() const = 0;

  /// `callback` runs after each stored write under `key`, before the call that wrote returns.
  virtual Subscription observe(std::string_view key, std::function<void()> callback) = 0;
  /// `callback` runs at the end of a turn in which `foreignRevision` was found to be another one,
  /// or a value could be read again.
  virtual Subscription observeForeignWrites(std::function<void()> callback) = 0;
};

}  // namespace tapeloop
