#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <unistd.h>

#include "platform/observable.h"
#include "platform/system/handles.h"
#include "platform/system/run_loop.h"
#include "platform/trace.h"

namespace tapeloop::system {

/// Opens /dev/null in place of those of the three standard descriptors that are closed, so that no
/// file of the program gets their numbers and with them the trace. To be called first in `main`.
void openStandardDescriptors();

/// The trace on a descriptor, by default standard output. A line is copied into a buffer, which is
/// written at the end of the turn. What a slow reader does not take is kept, up to a bound; lines
/// beyond that are dropped, and "... N lines lost" stands in their place. A descriptor that is
/// closed, or open on /dev/null, has no reader. Calls `surviveFailedWrites`. Main thread only.
class StandardOutputTrace final : public Trace {
 public:
  /// Bytes that are kept for a reader that is slow.
  static constexpr std::size_t bound = 8 << 20;

  /// `loop` outlives this object; `descriptor` stays open, and its blocking mode is left alone,
  /// since other programs may share it.
  explicit StandardOutputTrace(EpollRunLoop& loop, int descriptor = STDOUT_FILENO);
  StandardOutputTrace(const StandardOutputTrace&) = delete;
  StandardOutputTrace& operator=(const StandardOutputTrace&) = delete;
  /// Writes what can be written without waiting.
  ~StandardOutputTrace() override;

 private:
  enum class Sink : std::uint8_t {
    direct,  ///< Never waits long: a regular file, or a descriptor of our own that is non-blocking.
    socket,
    polled,  ///< Might wait: written to in portions that fit, after asking whether one does.
    gone,    ///< Closed, broken or /dev/null: there is no reader.
  };

  void write(std::string_view line) override;
  void open(int descriptor);
  [[nodiscard]] std::size_t pending() const { return buffer_.size() - written_; }
  void flush();
  [[nodiscard]] std::string lossNotice() const;
  [[nodiscard]] ssize_t writeSome(std::string_view text) const;
  void waitForReader();
  void dropPending();
  void giveUp();

  EpollRunLoop& loop_;
  Sink sink_ = Sink::gone;
  int descriptor_ = -1;      // written to; `reopened_` or the caller's
  FileDescriptor reopened_;  // our own, non-blocking open of the caller's
  std::size_t portion_ = 1;  // bytes that fit when a polled sink says that it is ready
  std::string buffer_;
  std::size_t written_ = 0;  // bytes at the front of `buffer_` that have been written
  std::size_t lost_ = 0;     // lines dropped and not reported yet
  bool lineOpen_ = false;    // what was written last broke off within a line
  Subscription beforeWait_;
  Watch writable_;  // while a reader is being waited for
  bool waiting_ = false;
};

}  // namespace tapeloop::system
