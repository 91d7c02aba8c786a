#include "keys/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

namespace vorn_keys {
namespace {

struct Shown {
  std::string out;
  std::string err;
};

/// What a console shows where standard error is a file.
template <class Work>
Shown shown_by(const Work& work) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  work(make_console());
  Shown shown;
  shown.err = testing::internal::GetCapturedStderr();
  shown.out = testing::internal::GetCapturedStdout();
  return shown;
}

TEST(Console, InALogShowsALineForEachStep) {
  const Shown shown = shown_by([](const inspection::Console& console) {
    console.progress(0.0, "the speed at pwm 255");
    console.progress(0.1, "the speed at pwm 255");
    console.progress(0.2, "the speed at pwm 192");
    console.progress(1.0, "done");
  });
  EXPECT_EQ(shown.err, "the speed at pwm 255\nthe speed at pwm 192\ndone\n");
  EXPECT_EQ(shown.out, "");
}

TEST(Console, InALogShowsAStepThatComesAgainAgain) {
  const Shown shown = shown_by([](const inspection::Console& console) {
    console.progress(0.0, "fan1");
    console.progress(0.5, "fan2");
    console.progress(0.6, "fan1");
  });
  EXPECT_EQ(shown.err, "fan1\nfan2\nfan1\n");
}

TEST(Console, PrintsResultsOnStandardOutputAndComplaintsOnStandardError) {
  const Shown shown = shown_by([](const inspection::Console& console) {
    console.print("a result");
    console.complain("a complaint");
    console.print("");
  });
  EXPECT_EQ(shown.out, "a result\n\n");
  EXPECT_EQ(shown.err, "a complaint\n");
}

TEST(Console, BeginsEachLogAnew) {
  const auto step = [](const inspection::Console& console) { console.progress(0, "fan1"); };
  EXPECT_EQ(shown_by(step).err, "fan1\n");
  EXPECT_EQ(shown_by(step).err, "fan1\n");
}

/// A terminal in the place of standard error, while it lives.
class Terminal {
 public:
  Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)), before_(dup(STDERR_FILENO)) {
    if (master_ >= 0 && grantpt(master_) == 0 && unlockpt(master_) == 0) {
      const int slave = open(ptsname(master_), O_RDWR | O_NOCTTY);
      there_ = slave >= 0 && dup2(slave, STDERR_FILENO) >= 0;
      close(slave);
    }
  }
  ~Terminal() {
    dup2(before_, STDERR_FILENO);
    close(before_);
    close(master_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  bool there() const { return there_; }

  /// The next `size` characters that are written to it; fewer if they do not come.
  std::string shown(std::size_t size) const {
    std::string text;
    pollfd written{master_, POLLIN, 0};
    while (text.size() < size && poll(&written, 1, kPatienceMs) == 1) {
      std::string part(size - text.size(), '\0');
      const ssize_t got = read(master_, part.data(), part.size());
      text.append(part, 0, got < 0 ? 0 : static_cast<std::size_t>(got));
      if (got <= 0) {
        break;
      }
    }
    return text;
  }

 private:
  static constexpr int kPatienceMs = 2000;

  int master_;
  int before_;
  bool there_ = false;
};

const std::string kClear = "\r\033[K";

void expect_shown(const Terminal& terminal, const std::string& text) {
  EXPECT_EQ(terminal.shown(text.size()), text);
}

TEST(Console, OnATerminalDrawsABarInPlaceOfTheLast) {
  const Terminal terminal;
  if (!terminal.there()) {
    GTEST_SKIP() << "there are no pseudo-terminals here";
  }
  const inspection::Console console = make_console();
  console.progress(0.25, "fan1");
  expect_shown(terminal, kClear + "[" + std::string(10, '#') + std::string(30, '.') + "] 25% fan1");
  console.progress(1.0, "done");
  expect_shown(terminal, kClear + "[" + std::string(40, '#') + "] 100% done");
}

TEST(Console, OnATerminalClearsTheBarBeforeALine) {
  const Terminal terminal;
  if (!terminal.there()) {
    GTEST_SKIP() << "there are no pseudo-terminals here";
  }
  const inspection::Console console = make_console();
  console.complain("a complaint");
  expect_shown(terminal, kClear + "a complaint\r\n");
  testing::internal::CaptureStdout();
  console.print("a result");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "a result\n");
  expect_shown(terminal, kClear);
}

}  // namespace
}  // namespace vorn_keys
