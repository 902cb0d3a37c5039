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
#include "platform/qt/frame_autosave.h"
#include "platform/qt/view_registry.h"
#include "platform/window_system.h"

namespace tapeloop::qt {

/// A window whose properties may be set in any order, before and after it was asked to come to the
/// front: they are collected, and the native window is made once, from all of them, when Qt's loop
/// gets its turn. The content is made at once, since that is the larger part of the work and is
/// better done before the caller starts its timers. Main thread only.
class Window final : public tapeloop::Window {
 public:
  /// `views` and `frames`, which keeps where windows were left, outlive the window.
  Window(const ViewRegistry& views, DefaultsStore& frames, Rect contentRect, StyleMask mask);
  ~Window() override;

  [[nodiscard]] std::string title() const override;
  void makeKeyAndOrderFront() override;
  void setMovableByWindowBackground(bool movable) override;
  void setLevel(WindowLevel level) override;
  void setBackgroundColor(Color color) override;
  [[nodiscard]] StyleMask styleMask() const override { return mask_; }
  void setStyleMask(StyleMask mask) override;
  /// Every window is buffered.
  void setBackingType(BackingType) override {}
  /// A window lives as long as it is held, shown or not.
  void setReleasedWhenClosed(bool) override {}
  void setIgnoresMouseEvents(bool ignores) override;
  void setContentView(HostingView content) override;
  void setFrameTopLeftPoint(Point point) override;
  void center() override;
  void setFrameAutosaveName(std::string_view name) override;
  /// The window manager draws the title bar.
  void setTitlebarAppearsTransparent(bool) override {}
  void setStandardWindowButtonHidden(WindowButton button, bool hidden) override;
  void display() override;
  void close() override;
  [[nodiscard]] bool isOpen() const;

 private:
  class Frame;

  void changed();
  void realize();
  void fitContent();
  void place();
  [[nodiscard]] Qt::WindowFlags flags() const;

  const ViewRegistry& views_;
  DefaultsStore& frames_;
  Frame* const frame_;  // deleted later: it may be on the stack
  StyleMask mask_;
  WindowLevel level_ = WindowLevel::normal;
  bool movable_ = false;
  bool ignoresMouseEvents_ = false;
  bool queued_ = false;  // a call of `realize` is under way
  bool centered_ = false;
  std::unique_ptr<FrameAutosave> autosave_;  // null: the frame is not remembered
  std::uint32_t hiddenButtons_ = 0;          // a bit for each `WindowButton`
  std::optional<Point> topLeft_;
  HostingView content_;
  std::unique_ptr<QQuickItem> item_;
  QObject receiver_;  // of queued calls, which go when the window goes, before its frame does
};

}  // namespace tapeloop::qt
