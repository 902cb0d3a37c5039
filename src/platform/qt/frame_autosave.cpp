#include "platform/qt/frame_autosave.h"

#include <cstdio>
#include <variant>

#include <QtCore/QEvent>
#include <QtCore/QRect>

#include "platform/qt/screen_area.h"

namespace tapeloop::qt {

FrameAutosave::FrameAutosave(DefaultsStore& store, QWindow& window, std::string_view name)
    : store_(store), window_(window), key_("Window Frame " + std::string(name)) {
  window_.installEventFilter(this);
}

FrameAutosave::~FrameAutosave() {
  remember();
}

bool FrameAutosave::restore() {
  const auto value = store_.objectForKey(key_);
  const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
  int x = 0;
  int y = 0;
  if (!text || std::sscanf(text->c_str(), "%d %d", &x, &y) != 2) return false;
  // On a screen that is gone nobody would find the window.
  const QRect frame({x, y}, window_.size());
  const QRect area = areaAround(frame);
  if (area.isEmpty()) return false;
  window_.setFramePosition(movedInto(area, frame).topLeft());
  return true;
}

void FrameAutosave::remember() {
  if (!window_.isVisible()) return;
  const QPoint corner = window_.framePosition();
  const std::string text = std::to_string(corner.x()) + ' ' + std::to_string(corner.y());
  // One that can't be kept is no loss worth an alert.
  (void)store_.setObjectForKey(text, key_);
}

bool FrameAutosave::eventFilter(QObject*, QEvent* event) {
  if (event->type() == QEvent::Close) remember();
  return false;
}

}  // namespace tapeloop::qt
