#pragma once

#include <array>

#include "platform/hotkey_service.h"

namespace tapeloop {

/// What both layers of hotkeys listen to.
inline constexpr std::array<EventTypeSpec, 2> hotKeyEventTypes{
    {{kEventClassKeyboard, kEventHotKeyPressed}, {kEventClassKeyboard, kEventHotKeyReleased}}};

/// Which registration the event is about.
inline OSStatus readHotKeyID(const HotKeyEvent& event, EventHotKeyID& id) {
  return HotKeyService::GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, id);
}

}  // namespace tapeloop
