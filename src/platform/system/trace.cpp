#include "platform/system/trace.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "platform/system/signals.h"

namespace tapeloop::system {
namespace {

// Large enough that writes are cheap in comparison with copying, small enough for the cache.
constexpr std::size_t writeSize = 128 << 10;

bool isNull(const struct stat& status) {
  return S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3);
}

}  // namespace

void openStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    // `open` returns the lowest free number, which is the closed one.
    if (fcntl(descriptor, F_GETFD) < 0) [[maybe_unused]]
      const int opened = ::open("/dev/null", O_RDWR);
  }
}

StandardOutputTrace::StandardOutputTrace(EpollRunLoop& loop, int descriptor) : loop_(loop) {
  surviveFailedWrites();
  open(descriptor);
  beforeWait_ = loop_.addBeforeWait([this] {
    flush();
    return false;
  });
}

StandardOutputTrace::~StandardOutputTrace() {
  waiting_ = false;
  flush();
}

void StandardOutputTrace::open(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || isNull(status)) return giveUp();
  descriptor_ = descriptor;
  if (S_ISSOCK(status.st_mode)) {
    sink_ = Sink::socket;
    return;
  }
  if (S_ISREG(status.st_mode)) {
    // Not reopened: that would not share the file position with other programs that write to it.
    sink_ = Sink::direct;
    return;
  }
  const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
  reopened_ =
      FileDescriptor(::open(path.c_str(), O_WRONLY | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (reopened_) {
    descriptor_ = reopened_.get();
    sink_ = Sink::direct;
    return;
  }
  sink_ = Sink::polled;
  // A pipe that polls as writable has room for PIPE_BUF bytes, a terminal for at least one.
  portion_ = S_ISFIFO(status.st_mode) ? PIPE_BUF : 1;
}

void StandardOutputTrace::write(std::string_view line) {
  const std::size_t size = line.size() + 1;
  if (pending() + size > writeSize && !waiting_ && lost_ == 0) flush();
  // After one line was dropped all are, until the buffer and the notice of the loss are written.
  if (lost_ > 0 || (pending() > 0 && pending() + size > bound)) {
    ++lost_;
    return;
  }
  buffer_.append(line) += '\n';
}

void StandardOutputTrace::flush() {
  while (!waiting_ && sink_ != Sink::gone && (pending() > 0 || lost_ > 0)) {
    const bool reportsLoss = pending() == 0;
    const std::string notice = reportsLoss ? lossNotice() : std::string();
    const ssize_t count = writeSome(reportsLoss ? std::string_view(notice)
                                                : std::string_view(buffer_).substr(written_));
    if (count > 0 && reportsLoss) {
      buffer_ = notice;
      written_ = static_cast<std::size_t>(count);
      lost_ = 0;
      lineOpen_ = false;
    } else if (count > 0) {
      written_ += static_cast<std::size_t>(count);
    } else if (count < 0 && errno == EAGAIN) {
      waitForReader();
    } else if (count < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)) {
      // Disk full: nothing tells when there is room again, so these lines are dropped.
      dropPending();
      return;
    } else if (count == 0 || errno != EINTR) {
      giveUp();
    }
  }
  if (pending() > 0 && sink_ != Sink::gone) return;
  buffer_.clear();
  written_ = 0;
}

std::string StandardOutputTrace::lossNotice() const {
  return (lineOpen_ ? "\n... " : "... ") + std::to_string(lost_) + " lines lost\n";
}

ssize_t StandardOutputTrace::writeSome(std::string_view text) const {
  switch (sink_) {
    case Sink::socket:
      return ::send(descriptor_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    case Sink::polled: {
      pollfd request{descriptor_, POLLOUT, 0};
      if (::poll(&request, 1, 0) == 0) {
        errno = EAGAIN;
        return -1;
      }
      return ::write(descriptor_, text.data(), std::min(text.size(), portion_));
    }
    case Sink::direct:
    case Sink::gone:
      break;
  }
  return ::write(descriptor_, text.data(), text.size());
}

void StandardOutputTrace::waitForReader() {
  // Removes the written part once it is larger than the rest, which has to be moved.
  if (written_ >= pending()) {
    buffer_.erase(0, written_);
    written_ = 0;
  }
  waiting_ = true;
  writable_ = loop_.watch(
      descriptor_,
      [this] {
        waiting_ = false;
        writable_.reset();
        flush();
      },
      Readiness::writable);
}

void StandardOutputTrace::dropPending() {
  if (written_ > 0) lineOpen_ = buffer_[written_ - 1] != '\n';
  lost_ += static_cast<std::size_t>(
      std::count(buffer_.begin() + static_cast<std::ptrdiff_t>(written_), buffer_.end(), '\n'));
  buffer_.clear();
  written_ = 0;
}

void StandardOutputTrace::giveUp() {
  sink_ = Sink::gone;
  loseReader();
}

}  // namespace tapeloop::system
