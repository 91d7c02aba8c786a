#include "vorn/privilege.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>

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

/// The effective user id of a thread that was there before `change`.
template <typename Change>
uid_t user_of_another_thread(Change change) {
  std::atomic<bool> changed{false};
  uid_t found = 0;
  std::thread other([&] {
    while (!changed) {
      std::this_thread::yield();
    }
    found = geteuid();
  });
  change();
  changed = true;
  other.join();
  return found;
}

TEST_F(UIDDeathTest, ElevateRaisesNoOtherThread) {
  EXPECT_IN_CHILD([] {
    act_as_set_user_id();
    const UID id;
    id.relinquish();
    return user_of_another_thread([&] { id.elevate(); }) == kNobody && geteuid() == 0 &&
           (id.relinquish(), geteuid() == kNobody);
  }());
}

TEST_F(UIDDeathTest, TheFirstRelinquishHoldsForEveryThread) {
  EXPECT_IN_CHILD([] {
    act_as_set_user_id();
    const UID id;
    return user_of_another_thread([&] { id.relinquish(); }) == kNobody;
  }());
}

TEST_F(UIDDeathTest, ARaisedThreadLowersItselfAlone) {
  EXPECT_IN_CHILD([] {
    act_as_set_user_id();
    const UID id;
    id.relinquish();
    std::atomic<bool> raised{false};
    std::atomic<bool> changed{false};
    uid_t found = kNobody;
    std::thread other([&] {
      id.elevate();
      raised = true;
      while (!changed) {
        std::this_thread::yield();
      }
      found = geteuid();
    });
    while (!raised) {
      std::this_thread::yield();
    }
    id.elevate();
    id.relinquish();
    changed = true;
    other.join();
    return found == 0 && geteuid() == kNobody;
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
