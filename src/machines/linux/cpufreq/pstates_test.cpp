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

TEST(PStates, CountTheFrequenciesOfBoost) {
  const std::vector<Policy> policies = policies_of("snapdragon_laptop");
  EXPECT_EQ(pstate_khz(policies[0], 0), 2438400);
  EXPECT_EQ(pstate_khz(policies[1], 0), 3187200);
  EXPECT_EQ(pstate_khz(policies[1], 1), 3072000);
  EXPECT_EQ(pstate_khz(policies[1], 2), 2956800);
  EXPECT_EQ(count_pstates(policies), 7U);
}

// cpuinfo_max_freq follows the switch.
TEST(PStates, LeaveOutTheFrequenciesOfBoostWhileItIsOff) {
  MemoryTree tree(read_machine("snapdragon_laptop"));
  tree.put(std::string(kPoliciesFolder) + "/policy4/cpuinfo_max_freq", "2956800");
  const std::vector<Policy> policies = read_cpufreq(tree)->policies;
  EXPECT_EQ(pstate_khz(policies[1], 0), 2956800);
  EXPECT_EQ(count_pstates(policies), 5U);
}

TEST(PStates, OfFavouredCoresAreThoseOfTheirKind) {
  const std::vector<Policy> intel = policies_of("favoured_cores_intel");
  EXPECT_EQ(pstate_khz(intel.front(), 0), 5200000);
  EXPECT_EQ(pstate_khz(intel.back(), 0), 5000000) << "it goes as far as it can";
  for (const std::uint32_t n : {2U, 3U, 30U}) {
    EXPECT_EQ(pstate_khz(intel.front(), n), 5200000 - n * kStepKhz);
    EXPECT_EQ(pstate_khz(intel.back(), n), pstate_khz(intel.front(), n));
  }
  const std::vector<Policy> amd = policies_of("favoured_cores_amd");
  EXPECT_EQ(pstate_khz(amd[3], 0), 5353000);
  EXPECT_EQ(pstate_khz(amd[3], 6), 5281000);
  EXPECT_EQ(pstate_khz(amd[0], 6), 5281000);
}

TEST(PStates, OfTwoKindsAreCountedByThemselves) {
  Policy fast;
  fast.hardware_min_khz = 600000;
  fast.hardware_max_khz = 5100000;
  fast.base_khz = 2000000;
  Policy slow = fast;
  EXPECT_TRUE(are_of_one_kind(fast, slow));
  slow.hardware_max_khz = 4080000;
  EXPECT_TRUE(are_of_one_kind(fast, slow));
  slow.hardware_max_khz = 4079999;
  EXPECT_FALSE(are_of_one_kind(fast, slow));
  slow = fast;
  slow.base_khz = 1400000;
  EXPECT_FALSE(are_of_one_kind(fast, slow));
  slow = fast;
  slow.hardware_min_khz = 500000;
  EXPECT_FALSE(are_of_one_kind(fast, slow));
  slow = fast;
  slow.table_khz = {5100000, 600000};
  EXPECT_FALSE(are_of_one_kind(fast, slow));
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
