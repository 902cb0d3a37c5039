#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "support/child_process.h"
#include "support/temporary_folder.h"

// Named as the library does, which its own header is not needed for.
struct _AtspiAccessible;
struct _AtspiEventListener;

namespace tapeloop::support {

/// What a part is there for. The numbers of roles and states are those of the protocol; the names
/// that a role has differ between releases of the library.
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
/// As the library calls it, for messages.
[[nodiscard]] std::string toString(Role role);

enum class State : std::uint8_t { checked = 4, enabled = 8, focused = 12, showing = 25 };

/// A part of a program as a screen reader sees it. Everything is asked of the program when it is
/// called for; what is gone answers with nothing.
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
  /// What stands in a field.
  [[nodiscard]] std::string text() const;
  [[nodiscard]] bool is(State state) const;
  /// On the screen.
  [[nodiscard]] Place place() const;
  [[nodiscard]] std::vector<Element> children() const;
  /// The first part below this one, in reading order, that the condition holds for.
  [[nodiscard]] std::optional<Element> find(
      const std::function<bool(const Element&)>& condition) const;
  /// Does what the element is there for, without pointer and keyboard.
  [[nodiscard]] bool press() const;
  /// Everything below, one line each, for the message of a failure.
  [[nodiscard]] std::string outline(int depth = 0) const;

 private:
  std::shared_ptr<_AtspiAccessible> accessible_;
};

/// The bus on which programs and screen readers meet; this process has one of its own. Not shared
/// between threads.
class AccessibilityBus {
 public:
  static AccessibilityBus& instance();
  AccessibilityBus(const AccessibilityBus&) = delete;
  AccessibilityBus& operator=(const AccessibilityBus&) = delete;
  ~AccessibilityBus();

  /// For the environment of a program that is to be found on the bus.
  [[nodiscard]] std::vector<std::string> environment() const;
  /// Nothing until the program has come to the bus.
  [[nodiscard]] std::optional<Element> program(pid_t pid) const;
  /// What has come into view from the first call on, in order.
  [[nodiscard]] const std::vector<std::pair<Role, std::string>>& shown();

 private:
  AccessibilityBus();

  TemporaryFolder folder_;
  ChildProcess session_;
  std::string address_;                            // as an entry of the environment
  std::shared_ptr<_AtspiEventListener> listener_;  // null: nobody has asked
  std::vector<std::pair<Role, std::string>> shown_;
};

}  // namespace tapeloop::support
