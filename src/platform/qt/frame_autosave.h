#pragma once

#include <string>
#include <string_view>

#include <QtGui/QWindow>

#include "platform/defaults_store.h"

namespace tapeloop::qt {

/// Remembers under a name where the user leaves a window, also for later runs: when the window
/// closes, and when this object goes while it is open. Main thread only.
class FrameAutosave final : public QObject {
 public:
  /// Both outlive this object.
  FrameAutosave(DefaultsStore& store, QWindow& window, std::string_view name);
  ~FrameAutosave() override;

  /// Moves the window to where it was left, as far as that is on a screen. False if that isn't
  /// known, or is on no screen any more.
  bool restore();
  void remember();

 protected:
  bool eventFilter(QObject* window, QEvent* event) override;

 private:
  DefaultsStore& store_;
  QWindow& window_;
  const std::string key_;
};

}  // namespace tapeloop::qt
