#pragma once

#include <bitset>
#include <string>
#include <thread>

#include "support/x_connection.h"
#include "support/x_event.h"

namespace tapeloop::support {

/// Stops a thread that waits for descriptors.
class StopSignal {
 public:
  StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;
  ~StopSignal();
  void raise() const;
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

/// A client that sees every key, button and motion event on the server, in order, whoever made it
/// and whoever received it. Collects in a thread of its own.
class XObserver {
 public:
  /// Everything that is posted after the constructor returns is seen.
  explicit XObserver(const std::string& display);
  ~XObserver();
  XObserver(const XObserver&) = delete;
  XObserver& operator=(const XObserver&) = delete;

  [[nodiscard]] XEventList::Events events() const { return list_.events(); }
  [[nodiscard]] std::size_t size() const { return list_.size(); }
  void clear() { list_.clear(); }
  [[nodiscard]] bool waitFor(std::size_t count, std::chrono::milliseconds limit) const {
    return list_.waitFor(count, limit);
  }
  [[nodiscard]] bool waitUntil(const std::function<bool(const XEventList::Events&)>& predicate,
                               std::chrono::milliseconds limit) const {
    return list_.waitUntil(predicate, limit);
  }
  /// Processor time that the collecting thread has used, in nanoseconds.
  [[nodiscard]] std::int64_t processorTime() const;

 private:
  void collect();
  void nudge();
  void readRecord();

  XConnection control_;
  XConnection data_;
  unsigned recording_ = 0;  // sequence number of the request that all record replies answer
  bool started_ = false;
  std::bitset<256> down_;
  StopSignal stop_;
  XEventList list_;
  std::thread thread_;
};

}  // namespace tapeloop::support
