#pragma once

#include <string_view>

namespace tapeloop {

/// Opens what other programs show. Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;
  /// Shows the page in the user's browser. True if it was handed to one. The scheme "tapeloop:"
  /// names a page that ships with the program.
  virtual bool openURL(std::string_view url) = 0;
};

}  // namespace tapeloop
