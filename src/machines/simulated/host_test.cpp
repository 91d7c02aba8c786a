#include "Host/host.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "machines/simulated/priority_grant.h"

namespace {

constexpr uid_t kOrdinaryUser = 65534;

/// In a process without any right to a fixed priority: status 0 if each request was granted and
/// the thread stayed as it was.
[[noreturn]] void ask_without_rights() {
  const rlimit none{0, 0};
  setrlimit(RLIMIT_RTPRIO, &none);
  if (geteuid() == 0 && setuid(kOrdinaryUser) != 0) {
    _exit(2);
  }
  for (int i = 0; i < 3; ++i) {
    if (host::set_fixed_priority(pthread_self(), 31) != 0) {
      _exit(1);
    }
  }
  int policy = -1;
  sched_param param{};
  pthread_getschedparam(pthread_self(), &policy, &param);
  _exit(policy == SCHED_OTHER ? 0 : 3);
}

TEST(SimulatedHost, GrantsARefusedPriorityAndSaysSoOnceWithARemedy) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(ask_without_rights(), testing::ExitedWithCode(0),
              "^[a-z_]*_test: no right to fixed priorities[^\n]*CAP_SYS_NICE[^\n]*\n$");
}

TEST(SimulatedHost, OnlyWantOfRightsIsForgiven) {
  EXPECT_EQ(simulated::granted(0), 0);
  EXPECT_EQ(simulated::granted(EINVAL), EINVAL);
  EXPECT_EQ(simulated::granted(ESRCH), ESRCH);
}

TEST(SimulatedHost, APriorityThatDoesNotExistIsRefused) {
  EXPECT_EQ(host::set_fixed_priority(pthread_self(), 1000), EINVAL);
}

TEST(SimulatedHost, CountsTheProcessorsThatThisProcessMayRunOn) {
  cpu_set_t set;
  CPU_ZERO(&set);
  ASSERT_EQ(sched_getaffinity(0, sizeof set, &set), 0);
  EXPECT_EQ(host::processor_count(), CPU_COUNT(&set));
}

TEST(SimulatedHost, AForegroundRoleIsAlwaysGiven) {
  EXPECT_EQ(host::set_foreground_role(), 0);
}

}  // namespace
