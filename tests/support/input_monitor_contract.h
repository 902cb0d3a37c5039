#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "platform/input_monitor.h"

namespace tapeloop::support {

/// What every input monitor promises when its handlers add and remove monitors. `move` makes the
/// pointer move once, and comes back when that has been delivered.
inline void expectHandlersMayAddAndRemoveMonitors(InputMonitor& monitor,
                                                  const std::function<void()>& move) {
  constexpr EventMask moves = maskOf(EventType::mouseMoved);
  std::vector<std::string> heard;
  std::vector<MonitorToken> tokens;
  const auto add = [&](
                       const std::string& name, std::function<void()> action = [] {}) {
    const auto token = monitor.addGlobalMonitorForEventsMatchingMask(
        moves, [&heard, name, action = std::move(action)](const InputEvent*) {
          heard.push_back(name);
          action();
        });
    tokens.push_back(token.value());
  };
  add("goes", [&] {
    monitor.removeMonitor(tokens[0]);
    monitor.removeMonitor(tokens[2]);
    add("new");
  });
  add("stays");
  add("removed by the first");
  add("last");
  move();
  EXPECT_THAT(std::exchange(heard, {}), testing::ElementsAre("goes", "stays", "last"));
  move();
  EXPECT_THAT(heard, testing::ElementsAre("stays", "last", "new"));
  for (const MonitorToken token : tokens) monitor.removeMonitor(token);
}

}  // namespace tapeloop::support
