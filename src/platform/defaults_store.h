#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/observable.h"

namespace tapeloop {

using DefaultsValue = std::variant<bool, std::int64_t, double, std::string>;
/// A value to write. A text is not copied: it may be long.
using DefaultsView = std::variant<bool, std::int64_t, double, std::string_view>;

[[nodiscard]] inline DefaultsView viewOf(const DefaultsValue& value) {
  return std::visit([](const auto& held) { return DefaultsView(held); }, value);
}

/// The outcome of a write. Unless it is `stored`, the store holds what it held before.
enum class StoreStatus : std::uint8_t {
  stored,
  readOnly,     ///< The file or its folder can't be written to.
  diskFull,     ///< No room on the disk, or a quota is reached.
  locked,       ///< Another process kept the store locked for too long.
  damaged,      ///< The file is no store, or damaged.
  newer,        ///< The format is that of a later version of the program.
  unavailable,  ///< The store could not be opened, or another system error.
};

/// One element of a list. Its text is `head` and a rest, which is read apart from it.
struct ListElement {
  std::int64_t id = 0;  ///< Rises along the list.
  std::string head;
};

/// Writes within a transaction. After a write that failed, later ones do nothing.
class StoreWriter {
 public:
  virtual void set(const DefaultsView& value, std::string_view key) = 0;
  /// Replaces the value by a list without elements.
  virtual void setEmptyList(std::string_view key) = 0;

  // Only for a key that holds a list.
  /// Adds an element at the end. Returns its id, or 0 on failure.
  virtual std::int64_t append(std::string_view head, std::string_view rest,
                              std::string_view key) = 0;
  virtual void setHead(std::int64_t element, std::string_view head, std::string_view key) = 0;
  virtual void remove(std::int64_t element, std::string_view key) = 0;

 protected:
  ~StoreWriter() = default;
};

/// The per-user defaults store: one typed value for each key. A text that is a JSON array can be
/// stored as a list, whose elements are read and written one by one; `objectForKey` returns it as
/// one text.
class DefaultsStore {
 public:
  virtual ~DefaultsStore() = default;

  /// Nothing if the key was never set or can't be read; `statusOfRead` tells the two apart.
  [[nodiscard]] virtual std::optional<DefaultsValue> objectForKey(std::string_view key) const = 0;

  /// Nothing if the key holds no list or can't be read.
  [[nodiscard]] virtual std::optional<std::vector<ListElement>> elementsForKey(
      std::string_view key) const = 0;
  /// The whole text of an element. Nothing if there is none or it can't be read.
  [[nodiscard]] virtual std::optional<std::string> elementText(std::int64_t element,
                                                               std::string_view key) const = 0;

  /// The outcome of the latest read of this key: other than `stored` if there is a value that can't
  /// be read. Writes to such a key fail with the same status until it can be read, so that no value
  /// is replaced unseen.
  [[nodiscard]] virtual StoreStatus statusOfRead(std::string_view key) const = 0;

  /// When this returns `stored`, the value survives a crash of the program and of the machine.
  [[nodiscard]] StoreStatus setObjectForKey(const DefaultsValue& value, std::string_view key) {
    return transaction([&](StoreWriter& writer) { writer.set(viewOf(value), key); });
  }

  /// Stores all that `body` writes through its argument or, if one write fails, nothing. From
  /// before `body` runs until its writes are stored no other process can write, so what it reads is
  /// still current then. `body` is not called if the store can't be locked for writing. It must
  /// write through its argument only, and may not see its own writes when it reads. Observers are
  /// called afterwards.
  [[nodiscard]] virtual StoreStatus transaction(
      const std::function<void(StoreWriter& writer)>& body) = 0;

  /// Changes when another process may have written, or the store was replaced by another one.
  /// Writes through this object don't change it. Cheap enough to call before each use of a value:
  /// outside of a transaction the result may be cached for the rest of the run loop's turn.
  [[nodiscard]] virtual std::uint64_t foreignRevision() const = 0;

  /// `callback` runs after each successful write to `key` through this object, before the call that
  /// wrote returns.
  virtual Subscription observe(std::string_view key, std::function<void()> callback) = 0;
  /// `callback` runs at the end of a turn in which `foreignRevision` changed or a value became
  /// readable again.
  virtual Subscription observeForeignWrites(std::function<void()> callback) = 0;
};

}  // namespace tapeloop
