#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

#include "platform/defaults_store.h"
#include "platform/qt/window_frame.h"
#include "platform/qt/window_system.h"
#include "platform/window_system.h"

namespace tapeloop::qt {

/// A window whose properties may be set in any order, before and after `makeKeyAndOrderFront`.
/// Changes are collected, and the native window is made once from all of them, in the next turn of
/// Qt's event loop. The item of the content is made at once: that takes longest, and the caller can
/// wait for it before it starts timers.
class Window final : public tapeloop::Window {
 public:
  /// `frames` stores where windows were left.
  Window(const ViewRegistry& views, DefaultsStore& frames, Rect contentRect, StyleMask mask);
  ~Window() override;

  [[nodiscard]] std::string title() const override;
  void makeKeyAndOrderFront() override;
  void setMovableByWindowBackground(bool movable) override;
  void setLevel(WindowLevel level) override;
  void setBackgroundColor(Color color) override;
  [[nodiscard]] StyleMask styleMask() const override { return mask_; }
  void setStyleMask(StyleMask mask) override;
  /// No effect: every window is buffered.
  void setBackingType(BackingType) override {}
  /// No effect: a window lives as long as it is referenced, shown or not.
  void setReleasedWhenClosed(bool) override {}
  void setIgnoresMouseEvents(bool ignores) override;
  void setContentView(HostingView content) override;
  void setFrameTopLeftPoint(Point point) override;
  void center() override;
  void setFrameAutosaveName(std::string_view name) override;
  /// No effect: the window manager draws the title bar.
  void setTitlebarAppearsTransparent(bool) override {}
  void setStandardWindowButtonHidden(WindowButton button, bool hidden) override;
  void display() override;
  void close() override;
  /// On screen, or about to be.
  [[nodiscard]] bool isOpen() const;

 private:
  class Frame;

  void changed();
  void fitContent();
  void place();
  [[nodiscard]] Qt::WindowFlags flags() const;

  const ViewRegistry& views_;
  DefaultsStore& frames_;
  Frame* const frame_;  // deleted by the event loop, since one of its own event handlers may run
  StyleMask mask_;
  WindowLevel level_ = WindowLevel::normal;
  bool movable_ = false;
  bool ignoresMouseEvents_ = false;
  bool queued_ = false;  // `display` is queued in the event loop
  bool centered_ = false;
  std::unique_ptr<FrameAutosave> autosave_;  // null: the position is not stored
  std::uint32_t hiddenButtons_ = 0;          // a bit for each `WindowButton`
  std::optional<Point> topLeft_;
  HostingView content_;
  std::unique_ptr<QQuickItem> item_;
  QObject receiver_;  // of queued calls; its destructor cancels them
};

}  // namespace tapeloop::qt
