#include "lab/live/outlet.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>

#include "lab/fakes/fake_terminal.h"

namespace lab {
namespace {

/// More than a pipe or a terminal keeps for a reader.
constexpr std::size_t kMuch = 1 << 20;

std::string numbered_lines(std::size_t bytes) {
  std::string text;
  for (int line = 0; text.size() < bytes; ++line) {
    text += std::to_string(line) + "\n";
  }
  return text;
}

struct Pipe {
  Pipe() { EXPECT_EQ(pipe2(ends.data(), O_NONBLOCK), 0); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    close_reader();
    close(ends[1]);
  }
  void close_reader() {
    close(ends[0]);
    ends[0] = -1;
  }
  /// Whether writing waits, as it does for the standard error of a program.
  void let_writer_wait() const { (void)fcntl(ends[1], F_SETFL, 0); }
  std::string taken() const {
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = read(ends[0], buffer.data(), buffer.size())) > 0;) {
      text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
  }
  std::array<int, 2> ends{-1, -1};
};

TEST(Outlet, WritesAtOnceWhatThereIsRoomFor) {
  const Pipe pipe;
  Outlet outlet(pipe.ends[1]);
  outlet.put("a line\n");
  EXPECT_TRUE(outlet.all_written());
  EXPECT_EQ(pipe.taken(), "a line\n");
}

TEST(Outlet, NeverWaitsForAReader) {
  const Pipe pipe;
  pipe.let_writer_wait();
  Outlet outlet(pipe.ends[1]);
  const std::string text = numbered_lines(kMuch);
  outlet.put(text);
  EXPECT_FALSE(outlet.all_written());
  std::string taken;
  for (bool all = false; !all;) {
    taken += pipe.taken();
    all = outlet.all_written();
  }
  EXPECT_EQ(taken + pipe.taken(), text);
}

TEST(Outlet, NeverWaitsForATerminalAndLeavesTheDescriptorAsItIs) {
  FakeTerminal terminal;
  Outlet outlet(terminal.fd());
  outlet.put(std::string(kMuch, 'a'));
  EXPECT_FALSE(outlet.all_written());
  EXPECT_EQ(fcntl(terminal.fd(), F_GETFL) & O_NONBLOCK, 0);
}

TEST(Outlet, ForgetsWhatItIsToldTo) {
  const Pipe pipe;
  Outlet outlet(pipe.ends[1]);
  outlet.put(std::string(kMuch, 'a'));
  outlet.discard();
  EXPECT_TRUE(outlet.all_written());
}

TEST(Outlet, DropsEverythingWhenNobodyIsThere) {
  Pipe pipe;
  pipe.close_reader();
  Outlet outlet(pipe.ends[1]);
  outlet.put("a line\n");
  EXPECT_TRUE(outlet.all_written());
}

TEST(Outlet, DrainsOnlyForAWhile) {
  const Pipe pipe;
  Outlet outlet(pipe.ends[1]);
  outlet.put(std::string(kMuch, 'a'));
  outlet.drain(std::chrono::milliseconds(10));
  EXPECT_FALSE(outlet.all_written());
  (void)pipe.taken();
}

}  // namespace
}  // namespace lab
