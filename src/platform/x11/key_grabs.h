#pragma once

#include <cstdint>
#include <vector>

#include "platform/x11/keyboard_map.h"

namespace tapeloop::x11 {

/// A key with exactly these real modifiers. Locks are not among them.
struct KeyCombination {
  std::uint8_t keycode = 0;
  std::uint8_t modifiers = 0;
  friend bool operator==(const KeyCombination&, const KeyCombination&) = default;
};

/// The passive grabs of this program: no other one gets the keys. They are asynchronous, because a
/// synchronous grab would stop the whole keyboard for as long as this program does not respond.
class KeyGrabs {
 public:
  KeyGrabs(Connection& connection, const KeyboardMap& keyboard);
  KeyGrabs(const KeyGrabs&) = delete;
  KeyGrabs& operator=(const KeyGrabs&) = delete;

  /// Ungrabs all others, and grabs those of these that are neither grabbed yet nor taken by another
  /// program. Waits for the server if it grabs any.
  void keep(const std::vector<KeyCombination>& wanted);
  [[nodiscard]] bool any() const { return !grabbed_.empty(); }
  [[nodiscard]] bool has(std::uint8_t keycode) const;
  [[nodiscard]] bool has(KeyCombination combination) const;

  /// Whether another program has grabbed it. Waits for the server.
  [[nodiscard]] bool isTaken(KeyCombination combination) const;

  /// Suspends the grabs that a press of the key with these modifiers, or more, would activate, so
  /// that a posted one reaches the application that has the focus. Nothing between these two may
  /// wait for the server: a key of the user's could come in between.
  void beginPosting(std::uint8_t keycode, std::uint8_t modifiers);
  void endPosting();

 private:
  [[nodiscard]] bool grab(KeyCombination combination) const;
  void request(KeyCombination combination, bool grab) const;
  [[nodiscard]] bool isTakenThroughExtension(KeyCombination combination) const;
  [[nodiscard]] std::vector<std::uint8_t> withLocks(std::uint8_t modifiers) const;

  Connection& connection_;
  const KeyboardMap& keyboard_;
  std::uint8_t locks_;  // lock modifiers for which the keys were grabbed
  std::vector<KeyCombination> grabbed_;
  std::vector<KeyCombination> suspended_;  // from `beginPosting` to `endPosting`
};

}  // namespace tapeloop::x11
