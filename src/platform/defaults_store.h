#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/signal.h"

namespace tapeloop {

using DefaultsValue = std::variant<bool, std::int64_t, double, std::string>;

/// What became of a write. Whatever else than `stored` it is, the store holds what it held before.
enum class StoreStatus : std::uint8_t {
  stored,
  readOnly,     ///< The file or its folder can't be written to.
  diskFull,     ///< No room, or a quota is used up.
  locked,       ///< Another process holds the store and did not let go in time.
  damaged,      ///< The file is not a store, or is broken.
  unavailable,  ///< The store could not be opened at all, or the system failed in another way.
};

/// The per-user defaults store: one typed value a key. Main thread only.
class DefaultsStore {
 public:
  virtual ~DefaultsStore() = default;

  /// Nothing when the key was never set, or can't be read.
  [[nodiscard]] virtual std::optional<DefaultsValue> objectForKey(std::string_view key) const = 0;

  /// When this returns `stored` the value outlives a crash of the program and of the machine.
  [[nodiscard]] virtual StoreStatus setObjectForKey(const DefaultsValue& value,
                                                    std::string_view key) = 0;

  /// `callback` runs after each stored write under `key`, before `setObjectForKey` returns.
  virtual Subscription observe(std::string_view key, std::function<void()> callback) = 0;
};

}  // namespace tapeloop
