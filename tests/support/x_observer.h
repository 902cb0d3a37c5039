#pragma once

#include <bitset>
#include <optional>
#include <string>

#include "support/x_connection.h"
#include "support/x_event.h"

namespace tapeloop::support {

/// A client that sees every key, button and motion event on the server, in order, whoever made it
/// and whoever received it. Collects in a thread of its own.
class XObserver : public XEventList {
 public:
  /// Everything that is posted after the constructor returns is seen.
  explicit XObserver(const std::string& display);
  /// Processor time that the collecting thread has used, in nanoseconds.
  [[nodiscard]] std::int64_t processorTime() const;

 private:
  void nudge();
  void readRecord();

  XConnection control_;
  XConnection data_;
  unsigned recording_ = 0;  // sequence number of the request that all record replies answer
  bool started_ = false;
  std::bitset<256> down_;
  std::optional<XReader> reader_;
};

}  // namespace tapeloop::support
