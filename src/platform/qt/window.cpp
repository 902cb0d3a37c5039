#include "platform/qt/window.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QtCore/QMetaObject>
#include <QtGui/QGuiApplication>
#include <QtGui/QMouseEvent>
#include <QtGui/QScreen>
#include <QtGui/QSurfaceFormat>

#include "platform/qt/color.h"

namespace tapeloop::qt {

/// The native window. Tells the view when it comes on screen and leaves, and can be moved by its
/// background.
class Window::Frame final : public QQuickWindow {
 public:
  std::shared_ptr<View> view;
  QPointer<QQuickItem> item;
  bool movable = false;
  bool wanted = false;  // brought to the front and not closed since

 protected:
  bool event(QEvent* event) override {
    const bool handled = QQuickWindow::event(event);
    if (event->type() == QEvent::Show && view) view->onAppear();
    if (event->type() == QEvent::Hide && view) view->onDisappear();
    if (event->type() == QEvent::Close && event->isAccepted()) wanted = false;  // by the user
    // After QQuickWindow::event, so that the items have had the press.
    if (event->type() == QEvent::MouseButtonPress && movable) moveUnlessTaken(*event);
    return handled;
  }
  void resizeEvent(QResizeEvent* event) override {
    QQuickWindow::resizeEvent(event);
    if (item) item->setSize(size());
  }

 private:
  void moveUnlessTaken(QEvent& event) {
    const auto& press = static_cast<QMouseEvent&>(event);
    if (press.button() == Qt::LeftButton && !press.exclusiveGrabber(press.points().front())) {
      startSystemMove();
    }
  }
};

Window::Window(const ViewRegistry& views, DefaultsStore& frames, Rect contentRect, StyleMask mask)
    : views_(views), frames_(frames), frame_(new Frame), mask_(mask) {
  frame_->resize(static_cast<int>(std::lround(contentRect.size.width)),
                 static_cast<int>(std::lround(contentRect.size.height)));
}

Window::~Window() {
  close();
  frame_->view.reset();
  frame_->deleteLater();
}

void Window::makeKeyAndOrderFront() {
  frame_->wanted = true;
  changed();
}

// Called before each update cycle, mostly with the same value.
void Window::setMovableByWindowBackground(bool movable) {
  if (movable_ == movable) return;
  movable_ = movable;
  changed();
}

void Window::setLevel(WindowLevel level) {
  level_ = level;
  changed();
}

void Window::setBackgroundColor(Color color) {
  frame_->setColor(toQt(color));
  if (color.alpha < 1) {
    // The native window gets an alpha channel only if the format asks for it before it is made.
    auto format = frame_->format();
    format.setAlphaBufferSize(8);
    frame_->setFormat(format);
  }
}

void Window::setStyleMask(StyleMask mask) {
  mask_ = mask;
  changed();
}

void Window::setIgnoresMouseEvents(bool ignores) {
  ignoresMouseEvents_ = ignores;
  changed();
}

void Window::setContentView(HostingView content) {
  if (content_.view && frame_->isVisible()) content_.view->onDisappear();
  content_ = std::move(content);
  frame_->view = content_.view;
  item_ = views_.makeItem(content_.view);
  frame_->item = item_.get();
  if (item_) {
    item_->setParentItem(frame_->contentItem());
    fitContent();
  }
  if (content_.view && frame_->isVisible()) content_.view->onAppear();
  changed();
}

void Window::setFrameTopLeftPoint(Point point) {
  topLeft_ = point;
  changed();
}

std::string Window::title() const {
  return frame_->title().toStdString();
}

void Window::center() {
  centered_ = true;
  changed();
}

void Window::setFrameAutosaveName(std::string_view name) {
  autosave_ = std::make_unique<FrameAutosave>(frames_, *frame_, name);
  changed();
}

void Window::setStandardWindowButtonHidden(WindowButton button, bool hidden) {
  const auto bit = 1U << static_cast<unsigned>(button);
  const auto buttons = hidden ? hiddenButtons_ | bit : hiddenButtons_ & ~bit;
  if (std::exchange(hiddenButtons_, buttons) != buttons) changed();
}

void Window::close() {
  if (autosave_) autosave_->remember();
  frame_->wanted = false;
  frame_->hide();
}

bool Window::isOpen() const {
  return queued_ || frame_->isVisible();
}

void Window::changed() {
  if (!frame_->wanted || queued_) return;
  queued_ = true;
  QMetaObject::invokeMethod(
      &receiver_, [this] { display(); }, Qt::QueuedConnection);
}

void Window::display() {
  if (!std::exchange(queued_, false) || !frame_->wanted) return;
  frame_->movable = movable_ && !ignoresMouseEvents_;
  if (frame_->flags() != flags()) frame_->setFlags(flags());
  fitContent();
  place();
  if (content_.cornerRadius > 0) clipToRoundedRectangle(*frame_, content_.cornerRadius);
  frame_->show();
  frame_->raise();
  if (!(flags() & Qt::WindowDoesNotAcceptFocus)) frame_->requestActivate();
}

void Window::fitContent() {
  if (!item_) return;
  QSize size(static_cast<int>(std::ceil(item_->implicitWidth())),
             static_cast<int>(std::ceil(item_->implicitHeight())));
  if (size.isEmpty()) return;
  // Limited to the screen; with a title bar to nine tenths of it, so that the bar fits, too.
  if (const QScreen* screen = frame_->screen()) {
    const double share = (mask_ & style_mask::titled) != 0 ? 0.9 : 1;
    size = size.boundedTo(screen->availableGeometry().size() * share);
  }
  const bool resizable = (mask_ & style_mask::resizable) != 0;
  frame_->setMinimumSize(size);
  if (!resizable) frame_->setMaximumSize(size);
  // A visible resizable window keeps the size that the user has given it.
  if (!resizable || !frame_->isVisible()) frame_->resize(size);
  item_->setSize(frame_->size());
}

void Window::place() {
  const auto* primary = QGuiApplication::primaryScreen();
  // A visible window stays where the user has moved it.
  if (!frame_->isVisible()) {
    if (autosave_ && autosave_->restore()) return;
    if (centered_ && primary) {
      const QRect area({}, frame_->size());
      frame_->setPosition(primary->geometry().center() - area.center());
    }
  }
  if (!topLeft_ || !primary) return;
  // `topLeft_` is in pixels of the server, and Qt's coordinates are scaled by `ratio`. A window
  // that is larger by that is placed so that its centre is where it would be unscaled, within the
  // screen.
  const QRect area = primary->geometry();
  const double ratio = primary->devicePixelRatio();
  const auto placed = [ratio](double pixels, int size, int room) {
    const double start = (pixels - size * (ratio - 1) / 2) / ratio;
    return std::clamp(static_cast<int>(std::lround(start)), 0, std::max(0, room - size));
  };
  frame_->setPosition(
      area.x() + placed(topLeft_->x, frame_->width(), area.width()),
      area.y() + placed(area.height() * ratio - topLeft_->y, frame_->height(), area.height()));
}

Qt::WindowFlags Window::flags() const {
  const bool titled = (mask_ & style_mask::titled) != 0;
  const bool floating = level_ == WindowLevel::floating;
  const auto has = [&](StyleMask style, WindowButton button) {
    return titled && (mask_ & style) != 0 &&
           (hiddenButtons_ >> static_cast<unsigned>(button) & 1) == 0;
  };
  Qt::WindowFlags flags = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint;
  // Qt ends the program with its last open window, and does not count tool tips.
  if (!titled) flags = Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus;
  flags.setFlag(Qt::WindowCloseButtonHint, has(style_mask::closable, WindowButton::close));
  flags.setFlag(Qt::WindowMinimizeButtonHint,
                has(style_mask::miniaturizable, WindowButton::miniaturize));
  flags.setFlag(Qt::WindowStaysOnTopHint, floating);
  flags.setFlag(Qt::BypassWindowManagerHint, floating && !titled);
  flags.setFlag(Qt::WindowTransparentForInput, ignoresMouseEvents_);
  return flags;
}

}  // namespace tapeloop::qt
