#pragma once

#include <map>
#include <string>
#include <string_view>

namespace tapeloop {

/// What the recorder control says, by key. Keys that nobody has given a text have an English one.
class RecorderTexts {
 public:
  RecorderTexts() = default;
  explicit RecorderTexts(std::map<std::string, std::string, std::less<>> texts)
      : texts_(std::move(texts)) {}

  /// UTF-8. Empty for an unknown key.
  [[nodiscard]] std::string_view text(std::string_view key) const;
  /// The text of the key with `argument` in the place of its first "%@".
  [[nodiscard]] std::string format(std::string_view key, std::string_view argument) const;

 private:
  std::map<std::string, std::string, std::less<>> texts_;
};

}  // namespace tapeloop
