#include "machines/linux/cpufreq/pin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/machine/cpufreq_fixture.h"
#include "support/machine/machine_file.h"

namespace linux_machine {
namespace {

using testing::ElementsAre;

Cpufreq read(const std::string& machine) {
  MemoryTree tree(machine);
  return *read_cpufreq(tree);
}

/// "policy0/scaling_min_freq 400000"
std::vector<std::string> lines(const std::vector<Setting>& settings) {
  std::vector<std::string> all;
  for (const Setting& setting : settings) {
    const std::size_t folder = setting.attribute.rfind('/');
    const std::size_t above = setting.attribute.rfind('/', folder - 1);
    all.push_back(setting.attribute.substr(above + 1) + " " + setting.value);
  }
  return all;
}

/// A machine of one policy, pinned for the first time.
PinPlan plan(const std::string& machine, std::uint32_t n) {
  const Cpufreq cpufreq = read(machine);
  return plan_pin(cpufreq, cpufreq, n);
}

std::string table(const std::string& frequencies) {
  return "0444 " + kCpufreq + "policy0/scaling_available_frequencies = " + frequencies + "\n";
}

std::string acpi(const std::string& frequencies, long long highest) {
  return PolicyText{.driver = "acpi-cpufreq",
                    .governor = "ondemand",
                    .governors = "ondemand",
                    .lowest = 1200000,
                    .highest = highest,
                    .min = 1200000,
                    .max = highest}
             .text() +
         table(frequencies) + "0644 " + kCpufreq + "boost = 1\n";
}

TEST(Pin, IsBothLimitsUnderTheGovernorThatIsThere) {
  for (const char* driver : {"intel_pstate", "intel_cpufreq", "cppc_cpufreq", "amd-pstate",
                             "amd-pstate-epp", "cpufreq-dt"}) {
    const PinPlan pin = plan(PolicyText{.driver = driver}.text(), 10);
    EXPECT_THAT(lines(pin.originals),
                ElementsAre("policy0/scaling_max_freq 4700000", "policy0/scaling_min_freq 400000"))
        << driver;
    EXPECT_THAT(lines(pin.writes),
                ElementsAre("policy0/scaling_max_freq 3700000", "policy0/scaling_min_freq 3700000"))
        << driver;
    EXPECT_EQ(lines(pin.limits), lines(pin.writes));
  }
}

TEST(Pin, WritesTheMinimumFirstWhenItGoesBelowIt) {
  EXPECT_THAT(lines(plan(PolicyText{.min = 3800000}.text(), 10).writes),
              ElementsAre("policy0/scaling_min_freq 3700000", "policy0/scaling_max_freq 3700000"));
}

TEST(Pin, WritesLimitsThatAreRightAlready) {
  const PinPlan pin = plan(PolicyText{.min = 3700000, .max = 3700000}.text(), 10);
  EXPECT_EQ(pin.writes.size(), 2U);
  EXPECT_EQ(pin.originals.size(), 2U);
}

TEST(Pin, OfAHybridGivesEachPolicyItsOwn) {
  EXPECT_THAT(lines(plan(PolicyText{.number = 0}.text() +
                             PolicyText{.number = 1, .lowest = 800000, .highest = 1000000}.text(),
                         5)
                        .limits),
              ElementsAre("policy0/scaling_max_freq 4200000", "policy0/scaling_min_freq 4200000",
                          "policy1/scaling_max_freq 800000", "policy1/scaling_min_freq 800000"));
}

TEST(Pin, OfTheNominalFrequencySwitchesBoostOff) {
  const PinPlan pin = plan(acpi("2300000 1800000 1200000", 2300000), 0);
  EXPECT_THAT(lines(pin.writes), ElementsAre("cpufreq/boost 0", "policy0/scaling_max_freq 2300000",
                                             "policy0/scaling_min_freq 2300000"));
  EXPECT_THAT(lines(pin.originals),
              ElementsAre("cpufreq/boost 1", "policy0/scaling_max_freq 2300000",
                          "policy0/scaling_min_freq 1200000"));
}

TEST(Pin, KeepsTheBoostOfEachPolicyThatTheSwitchOverwrites) {
  const PinPlan pin = plan(
      acpi("2300000 1800000 1200000", 2300000) + "0644 " + kCpufreq + "policy0/boost = 0\n", 0);
  EXPECT_EQ(lines(pin.originals)[1], "policy0/boost 0");
}

TEST(Pin, LeavesBoostWhereNothingBoosts) {
  EXPECT_EQ(plan(acpi("2300000 1800000 1200000", 2300000), 1).writes.size(), 2U);
}

TEST(Pin, LeavesBoostWhereTheTopEntryMeansTurbo) {
  EXPECT_EQ(plan(acpi("2667000 2666000 1200000", 2667000), 0).writes.size(), 2U);
}

TEST(Pin, AtOrBelowTheBaseFrequencySwitchesTurboOff) {
  const Cpufreq turbo = read(turbo_machine());
  EXPECT_EQ(lines(plan_pin(turbo, turbo, 26).writes).front(), "policy0/scaling_max_freq 2100000");
  EXPECT_EQ(lines(plan_pin(turbo, turbo, 27).writes).front(), "intel_pstate/no_turbo 1");
  EXPECT_EQ(lines(plan_pin(turbo, turbo, 27).originals).front(), "intel_pstate/no_turbo 0");
}

TEST(Pin, LeavesTurboWhereABaseFrequencyIsNotKnown) {
  Cpufreq turbo = read(turbo_machine());
  turbo.policies[1].base_khz.reset();
  EXPECT_EQ(plan_pin(turbo, turbo, 43).writes.size(), 4U);
}

TEST(Pin, LeavesTurboThatIsOffAlready) {
  Cpufreq turbo = read(turbo_machine());
  turbo.globals.no_turbo = 1;
  EXPECT_EQ(plan_pin(turbo, turbo, 43).writes.size(), 4U);
}

TEST(Pin, OpensTheLimitsInPercentOfIntelsDriver) {
  const std::string machine = PolicyText{.lowest = 800000, .highest = 3700000}.text() +
                              "0644 devices/system/cpu/intel_pstate/max_perf_pct = 60\n"
                              "0644 devices/system/cpu/intel_pstate/min_perf_pct = 50\n";
  EXPECT_THAT(lines(plan(machine, 29).writes),
              ElementsAre("intel_pstate/max_perf_pct 100", "intel_pstate/min_perf_pct 21",
                          "policy0/scaling_max_freq 800000", "policy0/scaling_min_freq 800000"));
  EXPECT_THAT(lines(plan(machine, 0).writes),
              ElementsAre("intel_pstate/max_perf_pct 100", "policy0/scaling_max_freq 3700000",
                          "policy0/scaling_min_freq 3700000"));
}

TEST(Pin, TakesPowersaveInPlaceOfPerformanceUnderAmdsActiveDriver) {
  const PinPlan pin = plan(performance_machine(), 0);
  // As it reads under "performance"; here the file is read without a kernel before it.
  EXPECT_THAT(lines(pin.originals),
              ElementsAre("policy0/scaling_governor performance",
                          "policy0/energy_performance_preference balance_power",
                          "policy0/scaling_max_freq 4700000", "policy0/scaling_min_freq 400000"));
  EXPECT_THAT(lines(pin.writes),
              ElementsAre("policy0/scaling_governor powersave", "policy0/scaling_max_freq 4700000",
                          "policy0/scaling_min_freq 4700000"));
}

TEST(Pin, LeavesTheGovernorOfOtherDrivers) {
  EXPECT_EQ(plan(PolicyText{.governor = "performance"}.text(), 0).writes.size(), 2U);
}

TEST(Pin, AfterAnotherKeepsNumberingAndOriginals) {
  const Cpufreq original = read(turbo_machine());
  Cpufreq now = original;  // as it is at P-state 43, where turbo is off
  now.globals.no_turbo = 1;
  for (Policy& policy : now.policies) {
    policy.hardware_max_khz = 2000000;
    policy.min_khz = policy.max_khz = 400000;
  }
  const PinPlan pin = plan_pin(original, now, 0);
  EXPECT_THAT(lines(pin.writes),
              ElementsAre("intel_pstate/no_turbo 0", "policy0/scaling_max_freq 4700000",
                          "policy0/scaling_min_freq 4700000", "policy1/scaling_max_freq 4700000",
                          "policy1/scaling_min_freq 4700000"));
  EXPECT_THAT(lines(pin.originals),
              ElementsAre("intel_pstate/no_turbo 0", "policy0/scaling_max_freq 4700000",
                          "policy0/scaling_min_freq 400000", "policy1/scaling_max_freq 4700000",
                          "policy1/scaling_min_freq 400000"));
}

TEST(Pin, PassesOverPoliciesThatHaveGone) {
  const Cpufreq original = read(turbo_machine());
  Cpufreq now = original;
  now.policies.erase(now.policies.begin());
  EXPECT_THAT(lines(plan_pin(original, now, 0).writes),
              ElementsAre("policy1/scaling_max_freq 4700000", "policy1/scaling_min_freq 4700000"));
}

}  // namespace
}  // namespace linux_machine
