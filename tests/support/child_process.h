#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace tapeloop::support {

/// A child process and the lines that it writes to standard output. It is ended by the destructor,
/// and by the kernel when the thread that started it dies. Used by one thread.
class ChildProcess {
 public:
  using Lines = std::vector<std::string>;

  /// `arguments[0]` is looked up in PATH. `environment` holds "NAME=value" entries that are added
  /// to those of this process or replace them.
  explicit ChildProcess(const std::vector<std::string>& arguments,
                        const std::vector<std::string>& environment = {});
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  [[nodiscard]] pid_t pid() const { return pid_; }
  [[nodiscard]] bool isRunning();

  /// The complete lines written so far. Does not block.
  [[nodiscard]] const Lines& lines();
  /// Forgets the lines written so far.
  void clearLines();
  /// Waits until the line number `index` is complete. Nothing when the child ends without it, or at
  /// the limit.
  [[nodiscard]] std::optional<std::string> waitForLine(std::size_t index,
                                                       std::chrono::milliseconds limit);
  /// Waits for a line that equals `line`.
  [[nodiscard]] bool waitForLine(std::string_view line, std::chrono::milliseconds limit);
  /// The condition is asked after each output.
  [[nodiscard]] bool waitUntil(const std::function<bool(const Lines&)>& condition,
                               std::chrono::milliseconds limit);

  /// Does nothing once the child is gone.
  void kill(int signal);
  /// The exit code, or the negative number of the signal that ended the child. Nothing at the
  /// limit.
  std::optional<int> wait(std::chrono::milliseconds limit);

 private:
  void readOutput();
  /// Returns when there is output, when the child is gone, or at the deadline; false for the last.
  bool waitForNews(std::chrono::steady_clock::time_point deadline);
  void reap(bool blocking);

  pid_t pid_ = -1;
  int output_ = -1;   // -1 once the other end is closed
  int process_ = -1;  // readable when the child is gone
  std::optional<int> status_;
  std::string partialLine_;
  Lines lines_;
};

}  // namespace tapeloop::support
