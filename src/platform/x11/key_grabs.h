#pragma once

#include <cstdint>
#include <optional>
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

  /// False, and nothing is grabbed, when another program has the combination. Grabbing one twice
  /// is the caller's business to avoid. Waits for the server.
  [[nodiscard]] bool grab(KeyCombination combination);
  void release(KeyCombination combination);
  /// Forgets and lets go of all.
  void releaseAll();
  [[nodiscard]] bool any() const { return !grabbed_.empty(); }
  [[nodiscard]] bool has(std::uint8_t keycode) const;

  /// Whether another program has grabbed each of these. Waits for the server once.
  [[nodiscard]] std::vector<bool> areTaken(const std::vector<KeyCombination>& combinations) const;

  /// Between these two a posted press of the key, with at least these modifiers, reaches the
  /// application that it is meant for, whatever is grabbed. What is between them is one stream of
  /// requests.
  void letThrough(std::uint8_t keycode, std::uint8_t modifiers);
  void closeAgain();

 private:
  void handle(const xcb_generic_event_t& event);
  void request(KeyCombination combination, bool grab) const;
  [[nodiscard]] std::vector<bool> areTakenThroughExtension(
      const std::vector<KeyCombination>& combinations) const;
  [[nodiscard]] bool isOurs(KeyCombination combination) const;
  [[nodiscard]] std::vector<std::uint8_t> withLocks(std::uint8_t modifiers) const;

  Connection& connection_;
  const KeyboardMap& keyboard_;
  std::vector<KeyCombination> grabbed_;
  std::vector<KeyCombination> opened_;   // not grabbed at the moment
  std::optional<std::uint8_t> holding_;  // the key whose press gave us the whole keyboard
  Subscription events_;
};

}  // namespace tapeloop::x11
