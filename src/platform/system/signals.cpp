#include "platform/system/signals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace tapeloop::system {
namespace {

constexpr std::size_t signalNumbers = 65;
// For each signal number the pipe to write it to, plus 1, or 0 for none. Global because a signal
// handler gets no other context.
constinit std::array<std::atomic<int>, signalNumbers> pipes{};

void handle(int signal) {
  const int error = errno;
  const int pipe = pipes[static_cast<std::size_t>(signal)].load() - 1;
  const auto number = static_cast<unsigned char>(signal);
  // If the pipe is full the byte is lost: the loop has not run for thousands of signals.
  if (pipe >= 0) [[maybe_unused]]
    const auto written = ::write(pipe, &number, 1);
  errno = error;
}

}  // namespace

void surviveFailedWrites() {
  for (const int signal : {SIGPIPE, SIGXFSZ}) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
    // Not SIG_IGN, which programs that this one starts would inherit.
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
  }
}

SignalWatch::SignalWatch(EpollRunLoop& loop, std::initializer_list<int> signals,
                         std::function<void(int)> callback)
    : callback_(std::move(callback)) {
  std::array<int, 2> ends{-1, -1};
  // Without a pipe the signals keep their default action: they end the program.
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
  readEnd_ = FileDescriptor(ends[0]);
  writeEnd_ = FileDescriptor(ends[1]);
  watch_ = loop.watch(readEnd_.get(), [this] { read(); });
  struct sigaction action {};
  action.sa_handler = handle;
  action.sa_flags = SA_RESTART;
  for (const int signal : signals) {
    struct sigaction before {};
    pipes[static_cast<std::size_t>(signal)] = writeEnd_.get() + 1;
    if (sigaction(signal, &action, &before) == 0) previous_.emplace_back(signal, before);
  }
}

SignalWatch::~SignalWatch() {
  for (const auto& [signal, before] : previous_) {
    sigaction(signal, &before, nullptr);
    pipes[static_cast<std::size_t>(signal)] = 0;
  }
}

void SignalWatch::read() {
  std::array<unsigned char, 64> numbers;
  const auto count = ::read(readEnd_.get(), numbers.data(), numbers.size());
  // Copied: the callback may end this watch.
  const auto callback = callback_;
  for (std::ptrdiff_t i = 0; i < count; ++i) callback(numbers[static_cast<std::size_t>(i)]);
}

}  // namespace tapeloop::system
