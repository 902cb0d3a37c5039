#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>

#include "support/x11_desktop.h"

// The program as a process of its own, to be killed. "start" starts it and ends it again; "hold"
// plays a recording that presses a key and a button and lets go of them a minute later.

int main(int count, char** arguments) {
  using namespace std::chrono_literals;
  using namespace tapeloop;
  try {
    support::X11Desktop desktop("");
    desktop.sync();
    if (count < 2 || std::strcmp(arguments[1], "hold") != 0) return 0;
    desktop.setLog(
        {{.type = EventType::leftMouseDown, .locationInWindow = {50, 50}},
         {.type = EventType::keyDown, .locationInWindow = {50, 50}},
         {.type = EventType::leftMouseUp, .timestamp = 60, .locationInWindow = {50, 50}}});
    return desktop.playLog(1, 90s) ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 2;
  }
}
