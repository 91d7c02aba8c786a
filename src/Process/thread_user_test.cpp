#include "Process/thread_user.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

namespace {

constexpr uid_t kNobody = 65534;

// User ids belong to the process, so each of these ends in a process of its own.
#define EXPECT_IN_CHILD(function) \
  EXPECT_EXIT({ std::_Exit(function() ? 0 : 1); }, testing::ExitedWithCode(0), "")

class ThreadUserDeathTest : public testing::Test {
 protected:
  void SetUp() override {
    if (getuid() != 0) {
      GTEST_SKIP() << "needs root";
    }
  }
};

TEST_F(ThreadUserDeathTest, ChangesTheCallingThreadAlone) {
  EXPECT_IN_CHILD([] {
    bool changed = false;
    std::thread([&] {
      changed = process::set_thread_effective_user(kNobody) == 0 && geteuid() == kNobody;
    }).join();
    return changed && geteuid() == 0;
  });
}

TEST_F(ThreadUserDeathTest, AThreadStartedMeanwhileInheritsIt) {
  EXPECT_IN_CHILD([] {
    process::set_thread_effective_user(kNobody);
    uid_t inherited = 0;
    std::thread([&] { inherited = geteuid(); }).join();
    return inherited == kNobody;
  });
}

TEST_F(ThreadUserDeathTest, IsRefusedWithoutTheRight) {
  EXPECT_IN_CHILD([] {
    return setresuid(kNobody, kNobody, kNobody) == 0 && process::set_thread_effective_user(0) < 0 &&
           geteuid() == kNobody;
  });
}

}  // namespace
