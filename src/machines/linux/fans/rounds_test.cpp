#include "machines/linux/fans/rounds.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <iterator>
#include <string>

namespace linux_machine {
namespace {

std::ptrdiff_t threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

/// Rounds that are wanted until a test has seen enough of them.
class RoundsTest : public testing::Test {
 protected:
  void wait_for(int rounds) {
    for (int done = done_; done < rounds; done = done_) {
      done_.wait(done);
    }
  }

  std::atomic<bool> needed_{false};
  std::atomic<int> done_{0};
  const std::ptrdiff_t threads_before_ = threads();
  Rounds rounds_{{.needed = [this] { return needed_.load(); },
                  .round =
                      [this] {
                        ++done_;
                        done_.notify_all();
                      },
                  .refused = [](int) { FAIL() << "nobody has a raised user id here"; }}};
};

TEST_F(RoundsTest, AreDoneAsLongAsThereIsSomethingToDo) {
  needed_ = true;
  rounds_.begin();
  wait_for(2);
  rounds_.join_ended();
  EXPECT_EQ(threads(), threads_before_ + 1) << "there is something to do";
  needed_ = false;
  rounds_.join_ended();
  EXPECT_EQ(threads(), threads_before_);
}

TEST_F(RoundsTest, BeginAgain) {
  for (const int rounds : {1, 2}) {
    needed_ = true;
    rounds_.begin();
    rounds_.begin();
    EXPECT_EQ(threads(), threads_before_ + 1);
    wait_for(rounds);
    needed_ = false;
    rounds_.join_ended();
    EXPECT_EQ(threads(), threads_before_);
  }
}

TEST_F(RoundsTest, AreNotBegunForNothing) {
  rounds_.begin();
  rounds_.join_ended();
  EXPECT_EQ(done_, 0);
  EXPECT_EQ(threads(), threads_before_);
}

TEST_F(RoundsTest, EndWithTheirObjectThoughThereIsSomethingToDo) {
  std::atomic<int> done{0};
  {
    Rounds rounds({.needed = [] { return true; },
                   .round =
                       [&] {
                         ++done;
                         done.notify_all();
                       },
                   .refused = nullptr});
    rounds.begin();
    done.wait(0);
  }
  EXPECT_EQ(threads(), threads_before_);
}

}  // namespace
}  // namespace linux_machine
