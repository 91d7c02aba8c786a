#include "vorn/privilege.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace {

constexpr uid_t kNobody = 65534;

// User ids belong to the process, so each of these ends in a process of its own.
#define EXPECT_IN_CHILD(statement) \
  EXPECT_EXIT({ std::_Exit((statement) ? 0 : 1); }, testing::ExitedWithCode(0), "")

bool act_as_set_user_id() {
  return setresuid(kNobody, 0, 0) == 0;
}

template <typename Operation>
bool throws_uid_exception(Operation operation) {
  try {
    operation();
  } catch (const UIDException&) {
    return true;
  }
  return false;
}

class UIDDeathTest : public testing::Test {
 protected:
  void SetUp() override {
    if (getuid() != 0) {
      GTEST_SKIP() << "needs root";
    }
  }
};

TEST_F(UIDDeathTest, RelinquishRunsOnWithTheRealUserId) {
  EXPECT_IN_CHILD(act_as_set_user_id() && (UID().relinquish(), geteuid() == kNobody));
}

TEST_F(UIDDeathTest, StaysPrivilegedAfterRelinquish) {
  EXPECT_IN_CHILD([] {
    act_as_set_user_id();
    const UID id;
    id.relinquish();
    return id.privileged();
  }());
}

TEST_F(UIDDeathTest, ElevateTakesTheRecordedEffectiveUserIdBack) {
  EXPECT_IN_CHILD([] {
    act_as_set_user_id();
    const UID id;
    id.relinquish();
    id.elevate();
    return geteuid() == 0;
  }());
}

TEST_F(UIDDeathTest, ElevateThrowsIfRefused) {
  EXPECT_IN_CHILD([] {
    const UID root;
    return setresuid(kNobody, kNobody, kNobody) == 0 &&
           throws_uid_exception([&] { root.elevate(); });
  }());
}

TEST_F(UIDDeathTest, RelinquishThrowsIfRefused) {
  EXPECT_IN_CHILD([] {
    const UID root;
    return setresuid(kNobody, kNobody, kNobody) == 0 &&
           throws_uid_exception([&] { root.relinquish(); });
  }());
}

TEST_F(UIDDeathTest, AnOrdinaryUserIsNotPrivileged) {
  EXPECT_IN_CHILD(setresuid(kNobody, kNobody, kNobody) == 0 && !UID().privileged());
}

}  // namespace
