#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "support/child_process.h"
#include "support/temporary_folder.h"

// The library's own name, declared here so that its header stays in the source.
struct _AtspiAccessible;

namespace tapeloop::support {

/// The numbers of the protocol, for roles and states. The library's names for them differ between
/// its releases.
enum class Role : std::uint8_t {
  alert = 2,
  checkBox = 7,
  comboBox = 11,
  dialog = 16,
  frame = 23,
  label = 29,
  list = 31,
  listItem = 32,
  menuItem = 35,
  button = 43,
  slider = 51,
  text = 61,
  heading = 83
};
/// The library's name, for messages.
[[nodiscard]] std::string toString(Role role);

enum class State : std::uint8_t { checked = 4, enabled = 8, focused = 12, showing = 25 };

/// A part of a program as a screen reader sees it. Each call asks the program. A part that is gone
/// answers with empty values.
class Element {
 public:
  struct Place {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
  };

  /// Takes over the reference.
  explicit Element(_AtspiAccessible* accessible);

  [[nodiscard]] std::string name() const;
  [[nodiscard]] Role role() const;
  [[nodiscard]] std::string description() const;
  /// The content of a text field.
  [[nodiscard]] std::string text() const;
  [[nodiscard]] bool is(State state) const;
  /// On the screen.
  [[nodiscard]] Place place() const;
  [[nodiscard]] std::vector<Element> children() const;
  /// The first descendant, in reading order, for which the condition holds.
  [[nodiscard]] std::optional<Element> find(
      const std::function<bool(const Element&)>& condition) const;
  /// Triggers its action "Press", without pointer and keyboard. False if it has none.
  [[nodiscard]] bool press() const;
  /// Its descendants, one line each, for the message of a failure.
  [[nodiscard]] std::string outline(int depth = 0) const;

 private:
  std::shared_ptr<_AtspiAccessible> accessible_;
};

/// The accessibility bus, to which programs and screen readers connect. This process has one of its
/// own. Used by one thread.
class AccessibilityBus {
 public:
  static AccessibilityBus& instance();
  AccessibilityBus(const AccessibilityBus&) = delete;
  AccessibilityBus& operator=(const AccessibilityBus&) = delete;
  ~AccessibilityBus();

  /// For a program that is to be found on the bus.
  [[nodiscard]] std::vector<std::string> environment() const;
  /// Nothing until the program has connected to the bus.
  [[nodiscard]] std::optional<Element> program(pid_t pid) const;

 private:
  AccessibilityBus();

  TemporaryFolder folder_;
  ChildProcess session_;
  std::string address_;  // as an entry of the environment
};

}  // namespace tapeloop::support
