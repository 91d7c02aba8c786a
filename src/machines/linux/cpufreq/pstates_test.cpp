#include "machines/linux/cpufreq/pstates.h"

#include <gtest/gtest.h>

#include "support/machine/machine_file.h"
#include "support/machine/memory_tree.h"

namespace linux_machine {
namespace {

std::vector<Policy> policies_of(const std::string& machine) {
  MemoryTree tree(read_machine(machine));
  return read_cpufreq(tree)->policies;
}

TEST(PStates, OfADriverWithATableAreItsEntries) {
  const std::vector<Policy> policies = policies_of("server_amd_epyc");
  EXPECT_EQ(count_pstates(policies), 3U);
  EXPECT_EQ(pstate_khz(policies[0], 0), 2300000);
  EXPECT_EQ(pstate_khz(policies[0], 2), 1200000);
  EXPECT_EQ(count_pstates(policies_of("old_laptop")), 13U);
}

TEST(PStates, OfADriverWithoutOneAreAHundredMegahertzApart) {
  const std::vector<Policy> policies = policies_of("laptop_intel_hwp");
  EXPECT_EQ(pstate_khz(policies[0], 0), 4700000);
  EXPECT_EQ(pstate_khz(policies[0], 1), 4600000);
  EXPECT_EQ(pstate_khz(policies[0], 43), 400000);
}

TEST(PStates, AreAsManyAsTheIntelDriverCounts) {
  for (const char* machine :
       {"laptop_intel_hwp", "two_socket_intel", "multi_die_intel", "dell_laptop"}) {
    MemoryTree tree(read_machine(machine));
    EXPECT_EQ(std::to_string(count_pstates(read_cpufreq(tree)->policies)),
              tree.text("devices/system/cpu/intel_pstate/num_pstates"))
        << machine;
  }
}

TEST(PStates, EndAboveTheSlowestFrequencyIfTheRangeIsUneven) {
  Policy policy;
  policy.hardware_min_khz = 1550000;
  policy.hardware_max_khz = 1900000;
  EXPECT_EQ(count_steps(policy), 4U);
  EXPECT_EQ(pstate_khz(policy, 3), 1600000);
}

TEST(PStates, OfSlowerCoresEndEarlierAndStayThere) {
  const std::vector<Policy> policies = policies_of("hybrid_intel");
  EXPECT_EQ(count_pstates(policies), 43U);
  EXPECT_EQ(pstate_khz(policies.front(), 0), 5000000);
  EXPECT_EQ(pstate_khz(policies.back(), 0), 3900000);
  EXPECT_EQ(pstate_khz(policies.front(), 42), 800000);
  EXPECT_EQ(pstate_khz(policies.back(), 31), 800000);
  EXPECT_EQ(pstate_khz(policies.back(), 42), 800000);
}

}  // namespace
}  // namespace linux_machine
