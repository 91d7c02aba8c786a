#include "machines/linux/guardian/control_groups.h"

#include <gtest/gtest.h>

namespace linux_machine {
namespace {

TEST(ControlGroups, AreLeftByTheTopOfEachHierarchy) {
  const std::vector<GroupHierarchy> found = group_hierarchies(
      "24 1 0:22 / /sys rw,nosuid - sysfs sysfs rw\n"
      "31 24 0:27 / /sys/fs/cgroup rw,nosuid shared:9 - cgroup2 cgroup2 rw,nsdelegate\n"
      "34 31 0:30 / /sys/fs/cgroup/cpu\\040time rw - cgroup cgroup rw,cpu,cpuacct\n"
      "35 31 0:31 /user /mnt/some rw - cgroup cgroup rw,freezer\n"
      "36 31 0:32 / /sys/fs/cgroup/freezer rw master:1 propagate_from:2 - cgroup c rw,freezer\n"
      "37 31 0:33\n");
  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found[0].controllers, "");
  EXPECT_EQ(found[0].top, "/sys/fs/cgroup/cgroup.procs");
  EXPECT_EQ(found[1].controllers, "cpu,cpuacct");
  EXPECT_EQ(found[1].top, "/sys/fs/cgroup/cpu time/cgroup.procs");
  EXPECT_EQ(found[2].controllers, "freezer") << "of a mount that shows a part, the top is hidden";
}

TEST(ControlGroups, AreLookedForInATextThatNoKernelWrites) {
  const std::vector<GroupHierarchy> found = group_hierarchies(
      "1 1 0:1 / /a\\xyz rw - cgroup2 c rw\n1 1 0:1 / /a\\04 rw - cgroup2 c rw\n- - - - -\n");
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].top, "/a\\xyz/cgroup.procs");
  EXPECT_EQ(found[1].top, "/a\\04/cgroup.procs");
}

TEST(ControlGroups, BindWhereTheyCanStopOrStarve) {
  EXPECT_EQ(group_that_binds("4:memory:/box\n3:freezer:/\n1:cpu,cpuacct:/\n0::/\n"), "");
  EXPECT_EQ(group_that_binds("3:freezer:/a\n0::/\n"), "3:freezer:/a");
  EXPECT_EQ(group_that_binds("1:cpu,cpuacct:/a\n0::/\n"), "1:cpu,cpuacct:/a");
  EXPECT_EQ(group_that_binds("1:cpuset:/a\n0::/user.slice/x\n"), "0::/user.slice/x");
  EXPECT_EQ(group_that_binds(""), "");
}

}  // namespace
}  // namespace linux_machine
