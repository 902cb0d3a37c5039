#pragma once

#include <cstdint>
#include <vector>

#include "platform/x11/keyboard_map.h"

namespace tapeloop::x11 {

/// A key with exactly these real modifiers, locks aside.
struct KeyCombination {
  std::uint8_t keycode = 0;
  std::uint8_t modifiers = 0;
  friend bool operator==(const KeyCombination&, const KeyCombination&) = default;
};

/// The combinations that this program keeps from every other one. The grabs are asynchronous: a
/// program that stands still keeps only these keys, not the keyboard. Main thread only.
class KeyGrabs {
 public:
  KeyGrabs(Connection& connection, const KeyboardMap& keyboard);
  KeyGrabs(const KeyGrabs&) = delete;
  KeyGrabs& operator=(const KeyGrabs&) = delete;

  /// Lets go of all others, and grabs those of these that are not grabbed yet and that no other
  /// program has. Waits for the server if there are such.
  void keep(const std::vector<KeyCombination>& wanted);
  [[nodiscard]] bool any() const { return !grabbed_.empty(); }
  [[nodiscard]] bool has(std::uint8_t keycode) const;
  [[nodiscard]] bool has(KeyCombination combination) const;

  /// Whether another program has grabbed it. Waits for the server.
  [[nodiscard]] bool isTaken(KeyCombination combination) const;

  /// Between these two a posted press of the key, with at least these modifiers, reaches the
  /// application that it is meant for, whatever is grabbed. What is between them is one stream of
  /// requests.
  void letThrough(std::uint8_t keycode, std::uint8_t modifiers);
  void closeAgain();

 private:
  [[nodiscard]] bool grab(KeyCombination combination) const;
  void request(KeyCombination combination, bool grab) const;
  [[nodiscard]] bool isTakenThroughExtension(KeyCombination combination) const;
  [[nodiscard]] std::vector<std::uint8_t> withLocks(std::uint8_t modifiers) const;

  Connection& connection_;
  const KeyboardMap& keyboard_;
  std::uint8_t locks_;  // as of when the keys were grabbed
  std::vector<KeyCombination> grabbed_;
  std::vector<KeyCombination> opened_;  // not grabbed at the moment
};

}  // namespace tapeloop::x11
