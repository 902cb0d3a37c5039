#include "support/child_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tapeloop::support {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// "env" sets the variables and gives way to the command.
std::vector<std::string> withEnvironment(std::vector<std::string> environment,
                                         const std::vector<std::string>& arguments) {
  environment.insert(environment.begin(), "env");
  environment.insert(environment.end(), arguments.begin(), arguments.end());
  return environment;
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (const auto& text : texts) result.push_back(const_cast<char*>(text.c_str()));
  result.push_back(nullptr);
  return result;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments,
                           const std::vector<std::string>& environment) {
  // All memory is allocated before the fork: in the child another thread's lock of the heap would
  // stay locked.
  const auto command = withEnvironment(environment, arguments);
  const auto argv = pointers(command);
  std::array<int, 2> pipe{};
  if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  const pid_t parent = ::getpid();
  pid_ = ::fork();
  if (pid_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != parent) ::_exit(127);
    ::dup2(pipe[1], STDOUT_FILENO);
    ::execvp(argv[0], argv.data());
    ::_exit(127);
  }
  ::close(pipe[1]);
  output_ = pipe[0];
  if (pid_ < 0) {
    ::close(output_);
    throw std::system_error(errno, std::generic_category(), "fork");
  }
  ::fcntl(output_, F_SETFL, O_NONBLOCK);
  process_ = static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0));
}

ChildProcess::~ChildProcess() {
  if (isRunning()) {
    kill(SIGTERM);
    if (!wait(milliseconds(5000))) {
      kill(SIGKILL);
      reap(true);
    }
  }
  if (output_ >= 0) ::close(output_);
  if (process_ >= 0) ::close(process_);
}

bool ChildProcess::isRunning() {
  reap(false);
  return !status_.has_value();
}

const ChildProcess::Lines& ChildProcess::lines() {
  readOutput();
  return lines_;
}

void ChildProcess::clearLines() {
  readOutput();
  lines_.clear();
}

std::optional<std::string> ChildProcess::waitForLine(std::size_t index, milliseconds limit) {
  const auto isThere = [index](const Lines& lines) { return lines.size() > index; };
  return waitUntil(isThere, limit) ? std::optional(lines_[index]) : std::nullopt;
}

bool ChildProcess::waitForLine(std::string_view line, milliseconds limit) {
  return waitUntil([line](const Lines& lines) { return std::ranges::count(lines, line) > 0; },
                   limit);
}

bool ChildProcess::waitUntil(const std::function<bool(const Lines&)>& condition,
                             milliseconds limit) {
  const auto deadline = steady_clock::now() + limit;
  while (!condition(lines())) {
    if (output_ < 0 || !waitForNews(deadline)) return false;
  }
  return true;
}

void ChildProcess::kill(int signal) {
  if (isRunning()) ::kill(pid_, signal);
}

std::optional<int> ChildProcess::wait(milliseconds limit) {
  const auto deadline = steady_clock::now() + limit;
  // Reads meanwhile, so that a child that writes much does not block on a full pipe.
  while (isRunning()) {
    if (!waitForNews(deadline)) return std::nullopt;
    readOutput();
  }
  readOutput();
  return status_;
}

void ChildProcess::readOutput() {
  std::array<char, 4096> buffer{};
  while (output_ >= 0) {
    const auto count = ::read(output_, buffer.data(), buffer.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (count == 0) {
      ::close(output_);
      output_ = -1;
      return;
    }
    partialLine_.append(buffer.data(), static_cast<std::size_t>(count));
    std::size_t start = 0;
    for (auto end = partialLine_.find('\n'); end != std::string::npos;
         end = partialLine_.find('\n', start)) {
      lines_.push_back(partialLine_.substr(start, end - start));
      start = end + 1;
    }
    partialLine_.erase(0, start);
  }
}

bool ChildProcess::waitForNews(steady_clock::time_point deadline) {
  const auto left =
      std::chrono::duration_cast<milliseconds>(deadline - steady_clock::now()).count();
  if (left <= 0) return false;
  std::array<pollfd, 2> sources{{{output_, POLLIN, 0}, {status_ ? -1 : process_, POLLIN, 0}}};
  const int ready = ::poll(sources.data(), sources.size(), static_cast<int>(left));
  reap(false);
  return ready != 0;
}

void ChildProcess::reap(bool blocking) {
  if (status_) return;
  int status = 0;
  if (::waitpid(pid_, &status, blocking ? 0 : WNOHANG) != pid_) return;
  status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace tapeloop::support
