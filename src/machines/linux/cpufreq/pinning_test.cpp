#include "machines/linux/cpufreq/pinning.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "machines/linux/cpufreq/pstates.h"
#include "machines/linux/sysfs/attribute.h"
#include "support/machine/cpufreq_fixture.h"
#include "support/machine/machine_file.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Result;

void expect_pinned(CpufreqMachine& machine, const std::vector<Policy>& policies, std::uint32_t n) {
  for (const Policy& policy : policies) {
    const std::string khz = std::to_string(pstate_khz(policy, n));
    EXPECT_EQ(machine.read(policy.folder + "/scaling_min_freq"), khz);
    EXPECT_EQ(machine.read(policy.folder + "/scaling_max_freq"), khz);
  }
}

bool can_be_pinned(const std::string& text) {
  MemoryTree tree(text);
  return static_cast<bool>(read_cpufreq(tree));
}

TEST(PStatePinning, ForcesAndGivesBackEveryMachine) {
  int machines = 0;
  for (const std::string& name : all_machines()) {
    SCOPED_TRACE(name);
    const std::string text = read_machine(name);
    if (!can_be_pinned(text)) {
      continue;
    }
    ++machines;
    CpufreqMachine machine(text);
    const std::vector<Policy> policies = read_cpufreq(machine.kernel)->policies;
    const auto before = machine.kernel.snapshot();
    const auto count = static_cast<std::uint32_t>(count_pstates(policies));
    for (const std::uint32_t n : {0U, count - 1, count / 2, 0U}) {
      const Result<Done> forced = machine.control.force(n);
      ASSERT_TRUE(forced) << n << ": " << forced.failure().message;
      expect_pinned(machine, policies, n);
    }
    ASSERT_TRUE(machine.control.give_back());
    EXPECT_EQ(machine.kernel.snapshot(), before);
    EXPECT_TRUE(machine.test.reports().empty());
    EXPECT_EQ(machine.tree.open_handles(), 0);
  }
  EXPECT_GE(machines, 12);
}

TEST(PStatePinning, RefusesANumberBeyondTheLastAndChangesNothing) {
  CpufreqMachine machine(turbo_machine());
  const int writes = machine.tree.writes();
  const Result<Done> forced = machine.control.force(44);
  EXPECT_EQ(forced.failure().trouble, sysfs::Trouble::bad_value);
  EXPECT_EQ(forced.failure().message, "P-state 44: this machine has 0 to 43");
  EXPECT_EQ(machine.tree.writes(), writes);
  EXPECT_FALSE(std::filesystem::exists(machine.test.surroundings.state_folder));

  ASSERT_TRUE(machine.control.force(43));
  EXPECT_EQ(machine.control.force(44).failure().trouble, sysfs::Trouble::bad_value);
  EXPECT_EQ(machine.limits(1), "400000 400000");
}

TEST(PStatePinning, WaitsUntilTheKernelHasAppliedIt) {
  CpufreqMachine machine(turbo_machine(), LateCpufreq::Kernel::queues, 900 * kNsPerMs);
  const std::int64_t start = machine.test.now_ns;
  ASSERT_TRUE(machine.control.force(5));
  EXPECT_GE(machine.test.now_ns - start, 900 * kNsPerMs);
  EXPECT_EQ(machine.limits(0), "4200000 4200000");
}

TEST(PStatePinning, GivesUpOnAKernelThatDoesNotApplyItWithinASecond) {
  CpufreqMachine machine(turbo_machine(), LateCpufreq::Kernel::queues, 1100 * kNsPerMs);
  const auto before = machine.kernel.snapshot();
  const Result<Done> forced = machine.control.force(5);
  EXPECT_EQ(forced.failure().trouble, sysfs::Trouble::silent);
  machine.test.now_ns += 2 * kNsPerS;
  EXPECT_EQ(machine.kernel.snapshot(), before);
}

// The limits are refused there if they come in the wrong order.
TEST(PStatePinning, SatisfiesKernelsBeforeQueues) {
  CpufreqMachine machine(turbo_machine(), LateCpufreq::Kernel::applies);
  const auto before = machine.kernel.snapshot();
  for (const std::uint32_t n : {0U, 43U, 10U, 20U, 5U}) {
    const Result<Done> forced = machine.control.force(n);
    ASSERT_TRUE(forced) << n << ": " << forced.failure().message;
  }
  ASSERT_TRUE(machine.control.give_back());
  EXPECT_EQ(machine.kernel.snapshot(), before);
}

TEST(PStatePinning, GivesBackNarrowLimitsToKernelsBeforeQueues) {
  const std::string narrow = PolicyText{.min = 2000000, .max = 2100000}.text();
  for (const std::uint32_t n : {0U, 43U}) {
    CpufreqMachine machine(narrow, LateCpufreq::Kernel::applies);
    ASSERT_TRUE(machine.control.force(n));
    ASSERT_TRUE(machine.control.give_back());
    EXPECT_EQ(machine.limits(0), "2000000 2100000");
  }
}

TEST(PStatePinning, SwitchesTurboOffAndOnAgain) {
  CpufreqMachine machine(turbo_machine());
  ASSERT_TRUE(machine.control.force(43));
  EXPECT_EQ(machine.read(kNoTurbo), "1");
  EXPECT_EQ(machine.read(kCpufreq + "policy0/cpuinfo_max_freq"), "2000000");
  ASSERT_TRUE(machine.control.force(0));
  EXPECT_EQ(machine.read(kNoTurbo), "0");
  EXPECT_EQ(machine.limits(0), "4700000 4700000");
  ASSERT_TRUE(machine.control.give_back());
  EXPECT_EQ(machine.limits(0), "400000 4700000");
}

TEST(PStatePinning, PutsTheGovernorBackBeforeThePreference) {
  CpufreqMachine machine(performance_machine());
  const auto before = machine.kernel.snapshot();
  ASSERT_TRUE(machine.control.force(3));
  EXPECT_EQ(machine.read(kCpufreq + "policy0/scaling_governor"), "powersave");
  ASSERT_TRUE(machine.control.give_back());
  EXPECT_EQ(machine.kernel.snapshot(), before);
  EXPECT_EQ(machine.read(kCpufreq + "policy0/scaling_governor"), "performance");
}

TEST(PStatePinning, NamesTheLimitThatAThermalDriverHoldsDown) {
  CpufreqMachine machine(turbo_machine());
  machine.tree.put("moving/" + kCpufreq + "policy1/thermal_limit", "1500000");
  const auto before = machine.kernel.snapshot();
  const std::int64_t start = machine.test.now_ns;
  const Result<Done> forced = machine.control.force(0);
  ASSERT_FALSE(forced);
  EXPECT_EQ(forced.failure().trouble, sysfs::Trouble::silent);
  EXPECT_EQ(forced.failure().message,
            "setting " + kCpufreq + "policy1/scaling_max_freq to 4700000: it stays at 1500000");
  EXPECT_LE(machine.test.now_ns - start, 3 * kNsPerS);
  EXPECT_EQ(machine.kernel.snapshot(), before);
}

TEST(PStatePinning, TakesADriversRoundingForTheSame) {
  for (const auto& [khz, same] : {std::pair("4660000", true), std::pair("4640000", false)}) {
    CpufreqMachine machine(turbo_machine());
    machine.tree.put("moving/" + kCpufreq + "policy1/thermal_limit", khz);
    EXPECT_EQ(static_cast<bool>(machine.control.force(0)), same);
  }
}

TEST(PStatePinning, GivesEverythingBackWhenAWriteIsRefused) {
  CpufreqMachine machine(turbo_machine());
  const auto before = machine.kernel.snapshot();
  const std::string refusing = kCpufreq + "policy1/scaling_min_freq";
  machine.tree.on_write(refusing,
                        [](const std::string& text) { return text == "400000" ? 0 : -EPERM; });
  const Result<Done> forced = machine.control.force(5);
  ASSERT_FALSE(forced);
  EXPECT_EQ(forced.failure().trouble, sysfs::Trouble::refused);
  EXPECT_EQ(forced.failure().message, "writing " + refusing +
                                          ": Operation not permitted (wanted 4200000, it is "
                                          "400000)");
  machine.test.now_ns += kNsPerS;
  EXPECT_EQ(machine.kernel.snapshot(), before);
}

TEST(PStatePinning, SaysWhatCouldNotBeGivenBack) {
  CpufreqMachine machine(turbo_machine());
  ASSERT_TRUE(machine.control.force(5));
  const std::string stuck = kCpufreq + "policy1/scaling_min_freq";
  machine.tree.fail(stuck, EIO);
  const Result<Done> given_back = machine.control.give_back();
  ASSERT_FALSE(given_back);
  EXPECT_EQ(given_back.failure().message, "not given back: " + stuck + " (was 400000)");
  EXPECT_EQ(machine.limits(0), "400000 4700000");

  machine.tree.fail(stuck, 0);
  EXPECT_TRUE(machine.control.give_back());
  EXPECT_EQ(machine.limits(1), "400000 4700000");
}

TEST(PStatePinning, ReportsWhatHasGoneWithItsProcessor) {
  CpufreqMachine machine(turbo_machine());
  ASSERT_TRUE(machine.control.force(5));
  machine.tree.remove(kCpufreq + "policy1");
  EXPECT_TRUE(machine.control.give_back());
  EXPECT_TRUE(machine.test.reported("policy1/scaling_max_freq"));
  EXPECT_EQ(machine.limits(0), "400000 4700000");
}

TEST(PStatePinning, PinsAPolicyThatAppearsLater) {
  CpufreqMachine machine(turbo_machine());
  machine.tree.fail(kCpufreq + "policy1/affected_cpus", EBUSY);
  ASSERT_TRUE(machine.control.force(5));
  EXPECT_EQ(machine.limits(1), "400000 4700000");
  machine.tree.fail(kCpufreq + "policy1/affected_cpus", 0);
  ASSERT_TRUE(machine.control.force(6));
  EXPECT_EQ(machine.limits(1), "4100000 4100000");
  ASSERT_TRUE(machine.control.give_back());
  EXPECT_EQ(machine.limits(1), "400000 4700000");
}

TEST(PStatePinning, LeavesAMachineToTheRunThatHoldsIt) {
  CpufreqMachine machine(turbo_machine());
  Ledger other(machine.test.surroundings, "pstates");
  ASSERT_TRUE(other.begin());
  const auto before = machine.kernel.snapshot();
  EXPECT_EQ(machine.control.force(5).failure().trouble, sysfs::Trouble::held);
  EXPECT_EQ(machine.kernel.snapshot(), before);
}

TEST(PStatePinning, StartsFromWhatAKilledRunHadFound) {
  CpufreqMachine machine(turbo_machine());
  const auto before = machine.kernel.snapshot();
  {
    Ledger killed(machine.test.surroundings, "pstates");
    PStatePinning control(machine.test.surroundings, killed);
    ASSERT_TRUE(control.force(5));
  }
  ASSERT_TRUE(machine.control.force(6));
  ASSERT_TRUE(machine.control.give_back());
  EXPECT_EQ(machine.kernel.snapshot(), before);
}

TEST(PStatePinning, HasNothingToGiveBackAtFirst) {
  CpufreqMachine machine(turbo_machine());
  EXPECT_TRUE(machine.control.give_back());
  EXPECT_EQ(machine.tree.writes(), 0);
}

TEST(PStatePinning, GivesBackWhatItFoundTheLastTime) {
  CpufreqMachine machine(turbo_machine());
  ASSERT_TRUE(machine.control.force(3));
  ASSERT_TRUE(machine.control.give_back());
  ASSERT_TRUE(sysfs::write_text(machine.kernel, kCpufreq + "policy0/scaling_max_freq", "3000000"));
  machine.test.now_ns += kNsPerS;
  const auto before = machine.kernel.snapshot();
  ASSERT_TRUE(machine.control.force(3));
  ASSERT_TRUE(machine.control.give_back());
  EXPECT_EQ(machine.kernel.snapshot(), before);
}

}  // namespace
}  // namespace linux_machine
