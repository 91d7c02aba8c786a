#include "machines/linux/cpufreq/policy.h"

#include <gtest/gtest.h>

#include "support/machine/cpufreq_fixture.h"
#include "support/machine/machine_file.h"

namespace linux_machine {
namespace {

using sysfs::Result;
using sysfs::Trouble;

TEST(Policy, AMachineWithoutPoliciesHasNoPStates) {
  MemoryTree virtual_machine(read_machine("virtual_machine"));
  EXPECT_FALSE(has_pstates(virtual_machine));
  EXPECT_EQ(read_cpufreq(virtual_machine).failure().trouble, Trouble::absent);

  MemoryTree only_boost("0644 devices/system/cpu/cpufreq/boost = 1\n");
  EXPECT_FALSE(has_pstates(only_boost));
  EXPECT_EQ(read_cpufreq(only_boost).failure().trouble, Trouble::absent);

  MemoryTree laptop(read_machine("laptop_intel_hwp"));
  EXPECT_TRUE(has_pstates(laptop));
}

TEST(Policy, IsReadWithWhatItsDriverHas) {
  MemoryTree tree(read_machine("laptop_intel_hwp"));
  const Result<Cpufreq> cpufreq = read_cpufreq(tree);
  ASSERT_TRUE(cpufreq) << cpufreq.failure().message;
  ASSERT_EQ(cpufreq->policies.size(), 4U);
  const Policy& policy = cpufreq->policies[3];
  EXPECT_EQ(policy.folder, kCpufreq + "policy3");
  EXPECT_EQ(policy.driver, "intel_pstate");
  EXPECT_EQ(policy.governor, "powersave");
  EXPECT_EQ(policy.governors, (std::vector<std::string>{"performance", "powersave"}));
  EXPECT_EQ(policy.hardware_min_khz, 400000);
  EXPECT_EQ(policy.hardware_max_khz, 4700000);
  EXPECT_TRUE(policy.table_khz.empty());
  EXPECT_EQ(policy.min_khz, 400000);
  EXPECT_EQ(policy.max_khz, 4700000);
  EXPECT_EQ(policy.base_khz, 1200000);
  EXPECT_EQ(cpufreq->globals.no_turbo, 0);
  EXPECT_EQ(cpufreq->globals.max_perf_pct, 100);
  EXPECT_EQ(cpufreq->globals.min_perf_pct, 8);
  EXPECT_EQ(cpufreq->globals.boost, std::nullopt);
}

TEST(Policy, AreOrderedByNumber) {
  MemoryTree tree(PolicyText{.number = 10}.text() + PolicyText{.number = 9}.text());
  const Result<Cpufreq> cpufreq = read_cpufreq(tree);
  ASSERT_EQ(cpufreq->policies.size(), 2U);
  EXPECT_EQ(cpufreq->policies[0].folder, kCpufreq + "policy9");
}

TEST(Policy, ATableIsFastestFirstAndWithoutDoubles) {
  EXPECT_EQ(parse_table("1200000 2300000 1800000 1800000"),
            (std::vector<long long>{2300000, 1800000, 1200000}));
  EXPECT_EQ(parse_table(" "), std::vector<long long>());
  EXPECT_EQ(parse_table("2300000 fast"), std::nullopt);
  EXPECT_EQ(parse_table("2300000 0"), std::nullopt);
}

TEST(Policy, AnAttributeOfAnotherDriverIsNotInTheWay) {
  MemoryTree tree(PolicyText{.driver = "acpi-cpufreq"}.text() +
                  "0644 devices/system/cpu/intel_pstate/no_turbo ! EAGAIN\n"
                  "0444 " +
                  kCpufreq +
                  "policy0/base_frequency ! EIO\n"
                  "0644 " +
                  kCpufreq + "policy0/energy_performance_preference ! EIO\n");
  EXPECT_TRUE(read_cpufreq(tree));
}

TEST(Policy, IsLeftOutWhenItsProcessorsAreOffline) {
  MemoryTree tree(PolicyText{.number = 0}.text() + PolicyText{.number = 1}.text() +
                  PolicyText{.number = 2}.text());
  tree.put(kCpufreq + "policy0/affected_cpus", "");
  tree.fail(kCpufreq + "policy1/affected_cpus", EBUSY);
  const Result<Cpufreq> cpufreq = read_cpufreq(tree);
  ASSERT_EQ(cpufreq->policies.size(), 1U);
  EXPECT_EQ(cpufreq->policies[0].folder, kCpufreq + "policy2");
}

TEST(Policy, AFailureNamesTheAttribute) {
  const std::string machine = turbo_machine();
  const auto message = [&](const std::string& path, int error) {
    MemoryTree tree(machine);
    tree.fail(path, error);
    const Result<Cpufreq> cpufreq = read_cpufreq(tree);
    return cpufreq ? "none" : cpufreq.failure().message;
  };
  for (const char* name : {"affected_cpus", "scaling_driver", "scaling_governor",
                           "scaling_available_governors", "cpuinfo_min_freq", "cpuinfo_max_freq",
                           "scaling_min_freq", "scaling_max_freq", "base_frequency"}) {
    const std::string path = kCpufreq + "policy1/" + name;
    EXPECT_EQ(message(path, EIO), "reading " + path + ": Input/output error");
  }
  EXPECT_EQ(message(kNoTurbo, EIO), std::string("reading ") + kNoTurbo + ": Input/output error");
}

TEST(Policy, ARequiredAttributeThatIsNotThereIsAbsent) {
  MemoryTree tree(turbo_machine());
  tree.remove(kCpufreq + "policy1/scaling_min_freq");
  const Result<Cpufreq> cpufreq = read_cpufreq(tree);
  EXPECT_EQ(cpufreq.failure().trouble, Trouble::absent);
  EXPECT_NE(cpufreq.failure().message.find("policy1/scaling_min_freq"), std::string::npos);
}

TEST(Policy, ARangeThatCannotBeIsNonsense) {
  for (const PolicyText& policy : {PolicyText{.lowest = 4800000}, PolicyText{.lowest = 0}}) {
    MemoryTree tree(policy.text());
    const Result<Cpufreq> cpufreq = read_cpufreq(tree);
    EXPECT_EQ(cpufreq.failure().trouble, Trouble::nonsense);
    EXPECT_NE(cpufreq.failure().message.find("cpuinfo_max_freq"), std::string::npos);
  }
  MemoryTree tree(PolicyText{}.text() + "0444 " + kCpufreq +
                  "policy0/scaling_available_frequencies = 2300000 fast\n");
  EXPECT_EQ(read_cpufreq(tree).failure().trouble, Trouble::nonsense);
}

TEST(Policy, OfAMachineFullOfTroubleSaysWhatIsWrong) {
  MemoryTree tree(read_machine("trouble_everywhere"));
  EXPECT_TRUE(has_pstates(tree));
  const Result<Cpufreq> cpufreq = read_cpufreq(tree);
  ASSERT_FALSE(cpufreq);
  EXPECT_NE(cpufreq.failure().message.find(kCpufreq), std::string::npos);
}

}  // namespace
}  // namespace linux_machine
