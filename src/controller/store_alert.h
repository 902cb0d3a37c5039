#pragma once

#include "platform/defaults_store.h"

namespace tapeloop {

/// For the alert that says why the recordings could not be changed. Empty for `stored`.
const char* storeSentence(StoreStatus status);

inline constexpr const char* notEncodableSentence =
    "The change was not saved: it holds a number or a text that can't be stored.";

}  // namespace tapeloop
