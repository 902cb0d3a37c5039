#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/system/trace.h"

namespace tapeloop::system {
namespace {

using testing::EndsWith;

constexpr std::size_t pipeSize = 64 << 10;

struct Ends {
  FileDescriptor reader;
  FileDescriptor writer;

  /// Everything that can be read now.
  [[nodiscard]] std::string read() const {
    std::string text;
    std::array<char, 4096> part;
    ssize_t count = 0;
    while ((count = ::read(reader.get(), part.data(), part.size())) > 0) {
      text.append(part.data(), static_cast<std::size_t>(count));
    }
    return text;
  }
};

enum class EndsKind : std::uint8_t { pipe, socket };

/// Whose reader does not wait.
Ends makeEnds(EndsKind kind) {
  std::array<int, 2> ends{};
  const int made = kind == EndsKind::pipe ? pipe2(ends.data(), O_CLOEXEC)
                                          : socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data());
  if (made != 0) ADD_FAILURE() << "no pipe or socket";
  fcntl(ends[0], F_SETFL, O_NONBLOCK);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

class TraceTest : public testing::Test {
 protected:
  /// So many lines within a turn.
  void writeLines(int count, int first = 0) {
    const std::string rest(40, '.');
    for (int i = first; i < first + count; ++i) {
      trace_->writeLine([&] { return std::to_string(i) + rest; });
    }
    loop_.endTurn();
  }
  void writeTurn(std::string_view line) {
    trace_->writeLine(line);
    loop_.endTurn();
  }
  void trace(const FileDescriptor& descriptor) {
    trace_ = std::make_unique<StandardOutputTrace>(loop_, descriptor.get());
  }
  /// What is written to a reader that takes it bit by bit.
  std::string readSlowly(const Ends& ends) {
    std::string text;
    for (std::string more = ends.read(); !more.empty(); more = ends.read()) {
      text += more;
      loop_.dispatch();
    }
    return text;
  }

  EpollRunLoop loop_;
  std::unique_ptr<StandardOutputTrace> trace_;
};

TEST_F(TraceTest, WritesAtTheEndOfATurnToABlockingDescriptor) {
  const Ends ends = makeEnds(EndsKind::pipe);
  trace(ends.writer);
  trace_->writeLine("STOP!!!");
  trace_->writeNumber(-7);
  EXPECT_EQ(ends.read(), "");
  loop_.endTurn();
  EXPECT_EQ(ends.read(), "STOP!!!\n-7\n");
  EXPECT_EQ(fcntl(ends.writer.get(), F_GETFL) & O_NONBLOCK, 0);
  trace_->writeLine("last");
  trace_.reset();
  EXPECT_EQ(ends.read(), "last\n");
}

template <typename Text>
concept CanBeWritten = requires(Trace& trace, Text text) {
  trace.writeLine(std::move(text));
};
static_assert(CanBeWritten<std::string_view> && !CanBeWritten<std::string>,
              "what is made for the trace alone is made only when it is read");

TEST_F(TraceTest, MakesALineOnlyForAReader) {
  Ends ends = makeEnds(EndsKind::pipe);
  const FileDescriptor null(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  const FileDescriptor zero(::open("/dev/zero", O_WRONLY | O_CLOEXEC));
  const FileDescriptor closed;
  int made = 0;
  const auto write = [&] {
    trace_->writeLine([&] { return std::to_string(++made); });
    loop_.endTurn();
  };
  for (const int output : {null.get(), closed.get(), ends.writer.get(), zero.get()}) {
    trace_ = std::make_unique<StandardOutputTrace>(loop_, output);
    write();
  }
  EXPECT_EQ(made, 2);
  EXPECT_EQ(ends.read(), "1\n");
  trace(ends.writer);
  ends.reader = FileDescriptor();
  for (int i = 0; i < 3; ++i) write();
  EXPECT_EQ(made, 3) << "once a reader has gone nobody takes its place";
}

TEST_F(TraceTest, KeepsWhatASlowReaderHasNotTaken) {
  constexpr int count = 20'000;
  for (const EndsKind kind : {EndsKind::pipe, EndsKind::socket}) {
    const Ends ends = makeEnds(kind);
    trace(ends.writer);
    writeLines(count);
    const std::string text = readSlowly(ends);
    EXPECT_EQ(std::ranges::count(text, '\n'), count);
    EXPECT_THAT(text, EndsWith("\n19999" + std::string(40, '.') + "\n"));
    trace_.reset();
  }
}

TEST_F(TraceTest, DropsLinesBeyondTheBoundAndSaysHowMany) {
  const Ends ends = makeEnds(EndsKind::pipe);
  trace(ends.writer);
  constexpr int count = 400'000;
  writeLines(count);
  writeLines(5, count);
  const std::string text = readSlowly(ends);
  const auto kept = std::ranges::count(text, '\n') - 1;
  EXPECT_LE(text.size(), StandardOutputTrace::bound + 2 * pipeSize + 100);
  EXPECT_GE(text.size(), StandardOutputTrace::bound);
  EXPECT_THAT(text, EndsWith("\n" + std::to_string(kept - 1) + std::string(40, '.') + "\n... " +
                             std::to_string(count + 5 - kept) + " lines lost\n"));
  writeTurn("again");
  EXPECT_EQ(ends.read(), "again\n");
}

TEST_F(TraceTest, SurvivesAReaderThatGoesAndABadDescriptor) {
  for (const EndsKind kind : {EndsKind::pipe, EndsKind::socket}) {
    Ends ends = makeEnds(kind);
    trace(ends.writer);
    writeLines(20'000);
    ends.reader = FileDescriptor();
    loop_.dispatch();
    writeLines(20'000);
    trace_.reset();
  }
  const FileDescriptor readOnly(::open("/proc/self/status", O_RDONLY | O_CLOEXEC));
  const FileDescriptor none;
  for (const FileDescriptor* each : {&none, &readOnly}) {
    trace(*each);
    writeLines(10);
  }
}

TEST_F(TraceTest, TriesAgainWhenTheDiskWasFull) {
  const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  ASSERT_TRUE(full);
  // A regular file is written through the caller's descriptor, which can be turned into another.
  const FileDescriptor file(::memfd_create("trace", MFD_CLOEXEC));
  const FileDescriptor output(::dup(file.get()));
  trace(output);
  ::dup2(full.get(), output.get());
  writeLines(10);
  writeLines(1);
  ::dup2(file.get(), output.get());
  writeTurn("dropped with the rest");
  writeTurn("again");
  std::array<char, 100> text{};
  EXPECT_GT(::pread(file.get(), text.data(), text.size(), 0), 0);
  EXPECT_STREQ(text.data(), "... 12 lines lost\nagain\n");
}

TEST(StandardDescriptors, AreOpenAfterwards) {
  const FileDescriptor saved(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10));
  ::close(STDIN_FILENO);
  openStandardDescriptors();
  EXPECT_GE(::fcntl(STDIN_FILENO, F_GETFD), 0);
  if (saved) ::dup2(saved.get(), STDIN_FILENO);
}

}  // namespace
}  // namespace tapeloop::system
