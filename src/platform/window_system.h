#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/screens.h"

namespace tapeloop {

/// Components from 0 to 1.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;
  friend bool operator==(const Color&, const Color&) = default;
};

inline constexpr Color clearColor{0, 0, 0, 0};
/// A colour whose components are given from 0 to 255.
constexpr Color rgb(double red, double green, double blue) {
  return {red / 255, green / 255, blue / 255, 1};
}

/// Bits of a window's style mask.
using StyleMask = std::uint32_t;
namespace style_mask {
inline constexpr StyleMask borderless = 0;
inline constexpr StyleMask titled = 1;
inline constexpr StyleMask closable = 2;
inline constexpr StyleMask miniaturizable = 4;
inline constexpr StyleMask resizable = 8;
inline constexpr StyleMask fullSizeContentView = 0x8000;
}  // namespace style_mask

enum class WindowLevel : std::int32_t { normal = 0, floating = 3 };
enum class WindowButton : std::uint32_t { close = 0, miniaturize = 1, zoom = 2 };
enum class BackingType : std::uint32_t { buffered = 2 };
enum class DeferCreation : std::uint8_t { no, yes };

/// The state and behaviour of something that a window shows. The window system chooses how to draw
/// it by its C++ type.
class View {
 public:
  View() = default;
  View(const View&) = delete;
  View& operator=(const View&) = delete;
  virtual ~View() = default;
  /// Called when the window that shows the view appears on the screen, and when it disappears.
  virtual void onAppear() {}
  virtual void onDisappear() {}
};

/// A view as the content of a window, clipped to a rounded rectangle.
struct HostingView {
  std::shared_ptr<View> view;
  double cornerRadius = 0;
};

/// Any open window of the program, also one that it did not create through `WindowSystem`.
class WindowChrome {
 public:
  virtual ~WindowChrome() = default;

  [[nodiscard]] virtual std::string title() const = 0;
  virtual void setMovableByWindowBackground(bool movable) = 0;
  /// Does nothing if the window lacks the button.
  virtual void setStandardWindowButtonHidden(WindowButton button, bool hidden) = 0;
};

/// A top-level window. It is closed when the last reference to it is dropped.
class Window : public WindowChrome {
 public:
  virtual void makeKeyAndOrderFront() = 0;
  virtual void setLevel(WindowLevel level) = 0;
  virtual void setBackgroundColor(Color color) = 0;
  [[nodiscard]] virtual StyleMask styleMask() const = 0;
  virtual void setStyleMask(StyleMask mask) = 0;
  virtual void setBackingType(BackingType type) = 0;
  /// A window that is not released when closed may be shown again.
  virtual void setReleasedWhenClosed(bool released) = 0;
  /// If true, clicks go to the window below.
  virtual void setIgnoresMouseEvents(bool ignores) = 0;
  virtual void setContentView(HostingView content) = 0;
  /// Moves the window's top-left corner to `point`.
  virtual void setFrameTopLeftPoint(Point point) = 0;
  /// Moves the window to the middle of the screen.
  virtual void center() = 0;
  /// Stores where the user moves the window under `name`, and restores that in later runs. A
  /// restored place overrides `setFrameTopLeftPoint` and `center`.
  virtual void setFrameAutosaveName(std::string_view name) = 0;
  virtual void setTitlebarAppearsTransparent(bool transparent) = 0;
  /// Draws the window now; otherwise that may happen after the caller has returned.
  virtual void display() = 0;
  /// Hides the window. No effect on a closed one.
  virtual void close() = 0;
};

class WindowSystem {
 public:
  virtual ~WindowSystem() = default;
  /// Creates a window that is not shown yet. Null on failure.
  virtual std::shared_ptr<Window> createWindow(Rect contentRect, StyleMask mask,
                                               BackingType backing, DeferCreation defer) = 0;
  /// All open windows of the program, in the platform's order.
  [[nodiscard]] virtual std::vector<std::shared_ptr<WindowChrome>> windows() = 0;
};

}  // namespace tapeloop
