#include "controller/toolbar.h"

#include "controller/hover.h"

namespace tapeloop {

void Toolbar::hover(ToolbarButton button, bool hovering) {
  hoveringOverSettings.set(hovering);
  const double opacity = hoverOpacity(hovering, isRecording_.get());
  switch (button) {
    case ToolbarButton::settings:
      return settingsButtonOpacity.set(opacity);
    case ToolbarButton::save:
      return saveButtonOpacity.set(opacity);
    case ToolbarButton::list:
      return listButtonOpacity.set(opacity);
  }
}

}  // namespace tapeloop
