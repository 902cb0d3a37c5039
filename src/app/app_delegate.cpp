#include "app/app_delegate.h"

namespace tapeloop {

// A run that was killed while it captured leaves its caption in the store.
void AppDelegate::applicationDidFinishLaunching() {
  startStopButtonText_.set("Record");
}

}  // namespace tapeloop
