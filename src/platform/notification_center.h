#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "platform/signal.h"

namespace tapeloop {

struct Notification {
  std::string name;
  std::map<std::string, std::string> userInfo;
};

/// Tells whoever observes a name of what is posted under it. Main thread only.
class NotificationCenter {
 public:
  using Observer = std::function<void(const Notification&)>;

  /// Observers run before this returns.
  void postNotificationName(std::string_view name, std::map<std::string, std::string> userInfo) {
    posted_({std::string(name), std::move(userInfo)});
  }

  Subscription addObserverForName(std::string_view name, Observer observer) {
    return posted_.connect([name = std::string(name),
                            observer = std::move(observer)](const Notification& notification) {
      if (notification.name == name) observer(notification);
    });
  }

 private:
  Signal<const Notification&> posted_;
};

}  // namespace tapeloop
