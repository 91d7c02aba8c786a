#include "lab/live/screen_view.h"

#include <gmock/gmock.h>

#include <memory>

#include "lab/fakes/fake_run.h"
#include "lab/fakes/fake_terminal.h"

namespace lab {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ScreenViewTest : public testing::Test {
 protected:
  ScreenViewTest() {
    run_.add_key("TC0P", "degC");
    run_.sample({40});
  }

  void show_after(std::chrono::milliseconds time) {
    now_ += time;
    view_->show(run_.state);
  }

  void expect_frame() {
    (void)terminal_.look();
    const std::vector<std::string> frame = run_.frame(size_);
    for (std::size_t row = 0; row < frame.size(); ++row) {
      EXPECT_EQ(terminal_.row(row), frame[row]) << "row " << row;
    }
  }

  std::chrono::steady_clock::time_point now_{1000s};
  Size size_{.columns = 60, .rows = 20};
  FakeRun run_;
  FakeTerminal terminal_{size_};
  std::unique_ptr<ScreenView> view_ =
      std::make_unique<ScreenView>(terminal_.fd(), kBare, [this] { return now_; });
};

TEST_F(ScreenViewTest, BorrowsTheTerminalWithTheFirstFrame) {
  EXPECT_THAT(terminal_.look(), IsEmpty());
  show_after(0ms);
  expect_frame();
  EXPECT_TRUE(terminal_.other_screen());
  EXPECT_FALSE(terminal_.echo());
}

TEST_F(ScreenViewTest, LeavesTheTerminalAsItWasFound) {
  show_after(0ms);
  view_.reset();
  EXPECT_THAT(terminal_.look(), HasSubstr("\x1b[?25h"));
  EXPECT_FALSE(terminal_.other_screen());
  EXPECT_TRUE(terminal_.echo());
}

TEST_F(ScreenViewTest, LeavesATerminalWithoutEchoWithoutIt) {
  termios settings{};
  ASSERT_EQ(tcgetattr(terminal_.fd(), &settings), 0);
  settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  ASSERT_EQ(tcsetattr(terminal_.fd(), TCSANOW, &settings), 0);
  show_after(0ms);
  view_.reset();
  EXPECT_FALSE(terminal_.echo());
}

TEST_F(ScreenViewTest, WithoutAFrameTheTerminalIsNotTouched) {
  view_.reset();
  EXPECT_THAT(terminal_.look(), IsEmpty());
}

TEST_F(ScreenViewTest, WritesTheLinesThatDiffer) {
  show_after(0ms);
  (void)terminal_.look();
  run_.state.next = "the run ends";
  show_after(1s);
  EXPECT_EQ(terminal_.look(), "\x1b[5;1H\x1b[Knext: the run ends");
  show_after(1s);
  EXPECT_THAT(terminal_.look(), IsEmpty());
}

TEST_F(ScreenViewTest, DrawsFourTimesASecondAtMost) {
  show_after(0ms);
  (void)terminal_.look();
  int frames = 0;
  for (int call = 0; call < 100; ++call) {
    run_.state.next = std::to_string(call);
    show_after(10ms);
    frames += terminal_.look().empty() ? 0 : 1;
  }
  EXPECT_EQ(frames, 4);
}

TEST_F(ScreenViewTest, DrawsAtOnceThatTheRunEnds) {
  show_after(0ms);
  run_.state.ending = true;
  show_after(1ms);
  expect_frame();
}

TEST_F(ScreenViewTest, FollowsTheSizeOfTheTerminal) {
  show_after(0ms);
  for (const Size size : {Size{.columns = 45, .rows = 12}, Size{.columns = 120, .rows = 40}}) {
    size_ = size;
    terminal_.resize(size);
    show_after(1s);
    expect_frame();
  }
}

TEST_F(ScreenViewTest, DropsFramesThatNobodyLooksAtAndShowsTheLastOne) {
  for (int frame = 0; frame < 2000; ++frame) {
    run_.sample({40.0 + frame % 7});
    run_.warnings = {"frame " + std::to_string(frame)};
    show_after(1s);
  }
  // As much as the terminal kept is read, and what was waiting for that comes.
  (void)terminal_.look();
  show_after(1s);
  expect_frame();
  show_after(1s);
  expect_frame();
}

TEST_F(ScreenViewTest, GivesAStoppedTerminalBackWithoutWaitingForEver) {
  for (int frame = 0; frame < 2000; ++frame) {
    run_.warnings = {"frame " + std::to_string(frame)};
    show_after(1s);
  }
  view_.reset();
  EXPECT_TRUE(terminal_.echo());
}

TEST_F(ScreenViewTest, BorrowsAgainWhatWasGivenBackMeanwhile) {
  show_after(0ms);
  (void)terminal_.look();
  restore_terminal();
  EXPECT_THAT(terminal_.look(), HasSubstr("\x1b[?1049l"));
  EXPECT_TRUE(terminal_.echo());
  show_after(1s);
  expect_frame();
  EXPECT_TRUE(terminal_.other_screen());
  EXPECT_FALSE(terminal_.echo());
}

TEST(Difference, DrawsNoEmptyLineOnAnEmptyScreen) {
  EXPECT_EQ(difference({}, {"", "a"}), "\x1b[2;1H\x1b[Ka");
  EXPECT_EQ(difference({"b", "a"}, {"", "a"}), "\x1b[1;1H\x1b[K");
}

TEST_F(ScreenViewTest, AFrameOfAnOrdinaryRunTakesFewBytes) {
  for (int key = 1; key < 20; ++key) {
    run_.add_key("TC" + std::to_string(key), "degC");
    run_.samples.columns.back().values = {40};
  }
  size_ = {.columns = 100, .rows = 40};
  terminal_.resize(size_);
  std::size_t bytes = 0;
  constexpr int kFrames = 100;
  for (int frame = 0; frame < kFrames; ++frame) {
    // Every value differs from the one before, so that each key's row is written.
    run_.sample(std::vector<double>(20, 40.0 + frame));
    show_after(1s);
    bytes += terminal_.look().size();
  }
  // 20 rows of at most 100 characters, most of them of three bytes in the sparkline.
  EXPECT_LT(bytes / kFrames, 6000U);
  EXPECT_GT(bytes / kFrames, 500U);
}

}  // namespace
}  // namespace lab
