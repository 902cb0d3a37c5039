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

/// Opens /dev/null for each standard descriptor that is closed. Otherwise a file that the program
/// opens could get the number of standard output, and the trace would be written into it. Call it
/// first in `main`.
void openStandardDescriptors();

/// Writes the trace to a descriptor, by default standard output. Lines are buffered and written at
/// the end of the turn. What a slow reader does not take stays in the buffer; if that is full,
/// lines are dropped and replaced by "... N lines lost". A descriptor that is closed or open on
/// /dev/null counts as one without a reader. Calls `surviveFailedWrites`.
class StandardOutputTrace final : public Trace {
 public:
  /// Size of the buffer, in bytes.
  static constexpr std::size_t bound = 8 << 20;

  /// `descriptor` must stay open. It is not made non-blocking, since other programs may share it.
  explicit StandardOutputTrace(EpollRunLoop& loop, int descriptor = STDOUT_FILENO);
  StandardOutputTrace(const StandardOutputTrace&) = delete;
  StandardOutputTrace& operator=(const StandardOutputTrace&) = delete;
  /// Writes what can be written without waiting.
  ~StandardOutputTrace() override;

 private:
  enum class Sink : std::uint8_t {
    direct,  ///< Writes don't block: a regular file, or `reopened_`.
    socket,  ///< Non-blocking by a flag of `send`.
    polled,  ///< Writes may block: a pipe or terminal of another user, which can't be reopened.
    gone,    ///< Closed, broken or /dev/null.
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
  int descriptor_ = -1;      // the one written to: `reopened_` or the caller's
  FileDescriptor reopened_;  // the caller's file, opened again as non-blocking
  std::size_t portion_ = 1;  // how many bytes a ready polled sink takes without blocking
  std::string buffer_;
  std::size_t written_ = 0;  // bytes at the front of `buffer_` that have been written
  std::size_t lost_ = 0;     // dropped lines that were not reported yet
  bool lineOpen_ = false;    // the last byte written was not a line break
  Subscription beforeWait_;
  Watch writable_;  // while `waiting_`
  bool waiting_ = false;
};

}  // namespace tapeloop::system
