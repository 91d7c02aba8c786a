#include "machines/linux/drivers/power_plugin.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "machines/linux/giving_back/journal.h"
#include "machines/linux/giving_back/left_behind.h"
#include "support/machine/cpufreq_fixture.h"

namespace linux_machine {
namespace {

constexpr const char* kPart = "pstates";  // as the fixture's ledger has it

class LinuxPStatesTest : public testing::Test {
 protected:
  /// Whether a run beside this one could take the P-states.
  bool free_for_others() {
    const auto lock = StateFile::lock(machine.test.surroundings, kPart);
    return static_cast<bool>(lock);
  }

  static constexpr const char* kUntouched = "400000 4700000";
  static constexpr const char* kSlowest = "400000 400000";

  CpufreqMachine machine{turbo_machine()};
  LinuxPStates pstates{machine.test.surroundings, machine.control, machine.ledger};
};

TEST_F(LinuxPStatesTest, ForceAndGiveBack) {
  ASSERT_EQ(pstates.claim(), kKxReturnSuccess);
  EXPECT_EQ(pstates.force(43), kKxReturnSuccess);
  EXPECT_EQ(machine.limits(1), kSlowest);
  EXPECT_EQ(pstates.give_back(), kKxReturnSuccess);
  EXPECT_EQ(machine.limits(1), kUntouched);
  EXPECT_TRUE(machine.test.reports().empty());
}

TEST_F(LinuxPStatesTest, AreTheSuperusersOnly) {
  EXPECT_TRUE(pstates.may_change());
  machine.test.user = 1000;
  EXPECT_FALSE(pstates.may_change());
}

TEST_F(LinuxPStatesTest, AreClaimedByOneAtATime) {
  ASSERT_EQ(pstates.claim(), kKxReturnSuccess);
  EXPECT_EQ(pstates.claim(), kKxReturnExclusiveAccess);
  EXPECT_EQ(pstates.claim(), kKxReturnExclusiveAccess) << "a refused claim ends no other";
  pstates.release();
  EXPECT_EQ(pstates.claim(), kKxReturnSuccess);
}

TEST_F(LinuxPStatesTest, ReleasedGiveEverythingBackAndLetOtherRunsIn) {
  ASSERT_EQ(pstates.claim(), kKxReturnSuccess);
  ASSERT_EQ(pstates.force(43), kKxReturnSuccess);
  EXPECT_FALSE(free_for_others());
  pstates.release();
  EXPECT_EQ(machine.limits(0), kUntouched);
  EXPECT_TRUE(free_for_others());
  EXPECT_TRUE(parts_with_state(machine.test.surroundings).empty());
}

TEST_F(LinuxPStatesTest, StayNotedAndHeldIfTheyCannotBeGivenBack) {
  ASSERT_EQ(pstates.claim(), kKxReturnSuccess);
  ASSERT_EQ(pstates.force(43), kKxReturnSuccess);
  machine.faulty.fail(1, EIO, FaultyTree::For::ever);
  pstates.release();
  EXPECT_FALSE(free_for_others()) << "they would take the forced P-state for the original";
  EXPECT_EQ(parts_with_state(machine.test.surroundings), std::vector<std::string>{kPart});
  EXPECT_TRUE(machine.test.reported("policy0/scaling_max_freq"));
}

TEST_F(LinuxPStatesTest, ClaimedAgainGiveBackWhatCouldNotBeBefore) {
  ASSERT_EQ(pstates.claim(), kKxReturnSuccess);
  ASSERT_EQ(pstates.force(43), kKxReturnSuccess);
  machine.faulty.fail(1, EIO, FaultyTree::For::ever);
  pstates.release();
  machine.faulty.heal();
  ASSERT_EQ(pstates.claim(), kKxReturnSuccess);
  pstates.release();
  EXPECT_EQ(machine.limits(0), kUntouched);
  EXPECT_TRUE(free_for_others());
}

TEST_F(LinuxPStatesTest, HeldByAnotherRunAreRefusedWithTheReason) {
  {
    const auto other = StateFile::lock(machine.test.surroundings, kPart);
    ASSERT_TRUE(other);
    EXPECT_EQ(pstates.claim(), kKxReturnExclusiveAccess);
    EXPECT_TRUE(machine.test.reported("another run holds the pstates"));
  }
  EXPECT_EQ(pstates.claim(), kKxReturnSuccess) << "after the end of the other";
}

TEST_F(LinuxPStatesTest, AreGivenBackWhenClaimed) {
  const std::string attribute = kCpufreq + "policy0/scaling_max_freq";
  {
    const auto killed = StateFile::lock(machine.test.surroundings, kPart);
    ASSERT_TRUE(killed);
    ASSERT_TRUE(killed->append(set_line(attribute, "3000000") + "\n"));
  }
  EXPECT_EQ(pstates.claim(), kKxReturnSuccess);
  EXPECT_EQ(machine.limits(0), "400000 3000000");
  EXPECT_TRUE(machine.test.reported("an earlier run had left the pstates changed"));
}

TEST_F(LinuxPStatesTest, BeyondTheLastAreTheCallersMistakeAndNotReported) {
  ASSERT_EQ(pstates.claim(), kKxReturnSuccess);
  EXPECT_EQ(pstates.force(44), kKxReturnBadArgument);
  EXPECT_EQ(machine.limits(0), kUntouched);
  EXPECT_TRUE(machine.test.reports().empty());
}

TEST_F(LinuxPStatesTest, ThatAreRefusedAreReportedWithTheAttribute) {
  ASSERT_EQ(pstates.claim(), kKxReturnSuccess);
  const std::string attribute = kCpufreq + "policy1/scaling_min_freq";
  machine.tree.fail(attribute, EIO);
  EXPECT_EQ(pstates.force(43), kKxReturnIOError);
  EXPECT_TRUE(machine.test.reported(attribute));
}

}  // namespace
}  // namespace linux_machine
