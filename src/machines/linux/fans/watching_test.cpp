#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "machines/linux/fans/daemons.h"
#include "support/machine/fan_fixture.h"

namespace linux_machine {
namespace {

class WatchingTest : public testing::Test {
 protected:
  WatchingTest() {
    bench_.new_run();
    before_ = bench_.state();
  }

  void force() {
    ASSERT_TRUE(bench_.control->set_force_bits(3));
    ASSERT_TRUE(bench_.control->set_target_rpm(0, 1500));
    bench_.pass(6);
    ASSERT_EQ(bench_.control->force_bits(), 3);
  }

  void expect_tripped(const std::string& reason) {
    EXPECT_EQ(bench_.control->force_bits(), 0);
    EXPECT_EQ(bench_.state(), before_);
    bench_.pass(10);
    EXPECT_EQ(reports(), std::vector<std::string>{"the fans are given back: " + reason});
    EXPECT_TRUE(bench_.control->tripped());
    const auto again = bench_.control->set_force_bits(1);
    ASSERT_FALSE(again);
    EXPECT_EQ(again.failure().trouble, sysfs::Trouble::given_back);
    EXPECT_NE(again.failure().message.find(reason), std::string::npos);
  }

  /// But for those of measurements.
  std::vector<std::string> reports() {
    std::vector<std::string> all = bench_.surroundings.reports();
    std::erase_if(all, [](const std::string& one) { return one.starts_with("measuring "); });
    return all;
  }

  FanFixture bench_;
  std::map<std::string, std::string> before_;
};

TEST_F(WatchingTest, GivesTheFansBackNearTheCriticalTemperature) {
  force();
  bench_.memory.put(FanFixture::kTemperature, "102900");
  bench_.pass(2);
  EXPECT_EQ(bench_.control->force_bits(), 3);
  bench_.memory.put(FanFixture::kTemperature, "103000");
  bench_.pass(0.5);
  expect_tripped("devices/cpu/temp1_input reads 103 degrees, and 100 degrees are critical");
}

TEST_F(WatchingTest, GivesTheFansBackWhenOneStands) {
  force();
  bench_.moving.block(0, true);
  bench_.pass(8);
  expect_tripped(FanFixture::attribute("fan1_input") + " reads 0 RPM, and the fan should turn");
}

TEST_F(WatchingTest, GivesTheFansBackAfterThreeFailedReads) {
  force();
  bench_.memory.fail(FanFixture::kTemperature, EIO);
  bench_.pass(1);
  EXPECT_EQ(bench_.control->force_bits(), 3);
  bench_.pass(0.5);
  expect_tripped("reading devices/cpu/temp1_input: Input/output error, 3 times in a row");
}

TEST_F(WatchingTest, ASpeedThatCannotBeReadCounts) {
  force();
  bench_.memory.fail(FanFixture::attribute("fan2_input"), ENODATA);
  bench_.pass(1.5);
  expect_tripped("reading " + FanFixture::attribute("fan2_input") +
                 ": No data available, 3 times in a row");
}

TEST_F(WatchingTest, ActsWithoutPrivilegeThroughWhatIsOpen) {
  force();
  bench_.surroundings.user = 1000;
  bench_.faulty.privileged = false;
  bench_.memory.put(FanFixture::kTemperature, "104000");
  bench_.pass(0.5);
  bench_.faulty.privileged = true;
  EXPECT_EQ(bench_.state(), before_);
  EXPECT_EQ(reports().size(), 1U);
  // With the privilege back, nothing is owed to the ledger any more.
  bench_.surroundings.user = 0;
  EXPECT_TRUE(bench_.control->set_force_bits(0));
  EXPECT_EQ(bench_.state(), before_);
}

TEST_F(WatchingTest, TripsInTheMiddleOfAMeasurement) {
  ASSERT_TRUE(bench_.control->set_force_bits(3));
  bench_.memory.put(FanFixture::kTemperature, "104000");
  EXPECT_EQ(bench_.control->maximum_rpm(0).failure().trouble, sysfs::Trouble::given_back);
  expect_tripped("devices/cpu/temp1_input reads 104 degrees, and 100 degrees are critical");
}

TEST_F(WatchingTest, TripsWhileATargetNeedsAMeasurement) {
  ASSERT_TRUE(bench_.control->set_force_bits(3));
  bench_.memory.put(FanFixture::kTemperature, "104000");
  EXPECT_EQ(bench_.control->set_target_rpm(0, 1000).failure().trouble, sysfs::Trouble::given_back);
  expect_tripped("devices/cpu/temp1_input reads 104 degrees, and 100 degrees are critical");
}

TEST_F(WatchingTest, PutsTheFansBackIfThePrivilegeGoesBetweenLookingAndActing) {
  force();
  bench_.faulty.privileged = false;  // and the user is still said to be the superuser
  bench_.memory.put(FanFixture::kTemperature, "104000");
  bench_.pass(0.5);
  bench_.faulty.privileged = true;
  EXPECT_EQ(bench_.control->force_bits(), 0);
  EXPECT_EQ(bench_.state(), before_);
  EXPECT_TRUE(bench_.surroundings.reported("the fans are given back: "));
}

TEST_F(WatchingTest, AFanThatIsGivenBackStaysSoThoughTheLedgerCannotBePaid) {
  force();
  int modes = 0;
  bench_.memory.on_write(FanFixture::attribute("pwm1_enable"), [&](std::string& text) {
    const bool original = text.starts_with("5");
    return original && ++modes > 1 && modes <= 5 ? -EIO : 0;
  });
  bench_.memory.put(FanFixture::kTemperature, "104000");
  bench_.pass(0.5);
  EXPECT_GT(modes, 5);
  EXPECT_EQ(bench_.state(), before_);
  EXPECT_TRUE(bench_.surroundings.reported("the fans are given back: "));
}

TEST_F(WatchingTest, DoesNotSayThatAFanIsGivenBackThatIsNot) {
  force();
  bench_.surroundings.user = 1000;
  bench_.faulty.privileged = false;
  bench_.moving.refuse_mode(0, 5, EINVAL);
  bench_.memory.put(FanFixture::kTemperature, "104000");
  bench_.pass(0.5);
  EXPECT_EQ(bench_.shown("pwm1"), 255);
  EXPECT_EQ(bench_.shown("pwm2_enable"), 5);
  EXPECT_FALSE(bench_.surroundings.reported("given back"));
  EXPECT_TRUE(bench_.surroundings.reported(FanFixture::attribute("pwm1_enable") + ": devices/cpu"));
}

TEST_F(WatchingTest, ARefusalAfterATripDoesNotBlameThePrivilege) {
  force();
  EXPECT_FALSE(bench_.control->tripped());
  bench_.memory.put(FanFixture::kTemperature, "104000");
  bench_.pass(0.5);
  bench_.surroundings.user = 1000;
  EXPECT_TRUE(bench_.control->tripped());
  EXPECT_EQ(bench_.control->set_force_bits(1).failure().trouble, sysfs::Trouble::given_back);
  EXPECT_EQ(bench_.control->maximum_rpm(1).failure().trouble, sysfs::Trouble::given_back);
  EXPECT_TRUE(bench_.control->set_force_bits(0));
}

TEST_F(WatchingTest, AWaveDoesNotHideABlockedRotor) {
  force();
  bench_.moving.block(0, true);
  for (int half = 0; half < 6; ++half) {
    bench_.control->set_target_rpm(0, half % 2 == 0 ? 900 : 1500);
    bench_.pass(2);
  }
  expect_tripped(FanFixture::attribute("fan1_input") + " reads 0 RPM, and the fan should turn");
}

TEST_F(WatchingTest, AFanThatFallsBackToAutomaticIsTakenAgain) {
  force();
  const long long commanded = bench_.shown("pwm1");
  for (int times = 0; times < 4; ++times) {
    ASSERT_TRUE(sysfs::write_text(bench_.moving, FanFixture::attribute("pwm1_enable"), "5"));
    bench_.pass(0.5);
    EXPECT_EQ(bench_.shown("pwm1_enable"), 1);
    EXPECT_EQ(bench_.shown("pwm1"), commanded);
    bench_.pass(0.5);
  }
  EXPECT_EQ(bench_.control->force_bits(), 3);
  ASSERT_TRUE(bench_.control->set_force_bits(0));
  EXPECT_EQ(bench_.state(), before_);
}

TEST_F(WatchingTest, AFanThatIsTakenAwayThreeTimesInARowIsLetGo) {
  force();
  for (int times = 0; times < 3; ++times) {
    EXPECT_EQ(bench_.control->force_bits(), 3) << times;
    ASSERT_TRUE(sysfs::write_text(bench_.moving, FanFixture::attribute("pwm1_enable"), "5"));
    bench_.pass(0.5);
  }
  expect_tripped(FanFixture::attribute("pwm1_enable") + " does not stay in manual mode");
}

TEST_F(WatchingTest, AFanThatCannotBeTakenAgainIsLetGo) {
  force();
  ASSERT_TRUE(sysfs::write_text(bench_.moving, FanFixture::attribute("pwm1_enable"), "5"));
  bench_.moving.refuse_mode(0, 1, EINVAL);
  bench_.pass(0.5);
  EXPECT_TRUE(bench_.control->tripped());
  EXPECT_TRUE(bench_.surroundings.reported("pwm1_enable does not stay in manual mode: writing "));
}

TEST_F(WatchingTest, ATargetReachesAFanThatHasFallenBackMeanwhile) {
  force();
  ASSERT_TRUE(sysfs::write_text(bench_.moving, FanFixture::attribute("pwm1_enable"), "5"));
  EXPECT_TRUE(bench_.control->set_target_rpm(0, 1900));
  bench_.pass(30);
  EXPECT_NEAR(bench_.speed(1), 1900, 57);
}

TEST(Watching, AChipThatHoldsTargetsIsPutBackToDoingSo) {
  std::vector<MovingFan> fans = FanFixture::two_fans();
  fans[0].target_mode = 3;
  fans[0].modes = {1, 2, 3};
  FanFixture bench("f71805f", "2", fans);
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  ASSERT_TRUE(bench.control->set_target_rpm(0, 1500));
  bench.memory.put(FanFixture::attribute("fan1_target"), "700");
  ASSERT_TRUE(sysfs::write_text(bench.moving, FanFixture::attribute("pwm1_enable"), "2"));
  bench.pass(0.5);
  EXPECT_EQ(bench.shown("pwm1_enable"), 3);
  EXPECT_EQ(bench.shown("fan1_target"), 1500);
}

/// Of a chip with one fan, in 10 s of watching.
int accesses_in_ten_seconds(const std::string& chip, const std::string& mode) {
  std::vector<MovingFan> fans = {FanFixture::two_fans()[0]};
  fans[0].full_reads_as_zero = false;
  FanFixture bench(chip, mode, fans);
  bench.new_run();
  EXPECT_TRUE(bench.control->set_force_bits(1));
  bench.faulty.fail(0, 0, FaultyTree::For::once);
  bench.pass(10);
  EXPECT_EQ(bench.control->force_bits(), 1);
  return bench.faulty.accesses();
}

// Speeds are read by who watches and by who keeps them.
TEST(Watching, AChipThatStallsTheMachineIsReadSeldom) {
  EXPECT_EQ(accesses_in_ten_seconds("nct6779", "5"), 20 + 20 + 20 + 20);  // the second: the mode
  EXPECT_EQ(accesses_in_ten_seconds("dell_smm", "?"), 20 + 5 + 1);
}

TEST(Watching, ASlowlyReadFanThatStandsIsStillSeen) {
  FanFixture bench("dell_smm", "?", {FanFixture::two_fans()[0]});
  bench.new_run();
  ASSERT_TRUE(bench.control->set_force_bits(1));
  bench.moving.block(0, true);
  bench.pass(12);
  EXPECT_TRUE(bench.control->tripped());
  EXPECT_TRUE(bench.surroundings.reported("reads 0 RPM"));
}

TEST_F(WatchingTest, AFanFoundAtRestMayStay) {
  bench_.moving.block(1, true);
  bench_.surroundings.now_ns += 20 * kNsPerS;
  ASSERT_TRUE(bench_.control->set_force_bits(2));
  bench_.pass(20);
  EXPECT_EQ(bench_.control->force_bits(), 2);
}

TEST(Watching, AFanHasFourSecondsToStart) {
  for (const double blocked_s : {3.5, 5.0}) {
    FanFixture bench;
    bench.save_true_curve(0, Curve::Stop::stops_and_starts);
    bench.new_run();
    ASSERT_TRUE(bench.control->set_force_bits(1));
    ASSERT_TRUE(bench.control->set_target_rpm(0, 0));
    bench.pass(10);
    bench.moving.block(0, true);
    ASSERT_TRUE(bench.control->set_target_rpm(0, 1500));
    bench.pass(blocked_s);
    bench.moving.block(0, false);
    bench.pass(5);
    EXPECT_EQ(bench.control->force_bits(), blocked_s < 4 ? 1 : 0) << blocked_s;
  }
}

TEST_F(WatchingTest, BringsAFanBackToItsTarget) {
  force();
  ASSERT_TRUE(sysfs::write_text(bench_.moving, FanFixture::attribute("pwm1"), "120"));
  bench_.pass(60);
  EXPECT_NEAR(bench_.speed(1), 1500, 50);
}

/// From here on, no thread of this process can change its user. Returns whether that was done.
bool keep_the_user() {
  std::array<sock_filter, 4> filter{{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_setresuid, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  }};
  const sock_fprog program{filter.size(), filter.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

bool is_given_back_without_a_watch() {
  FanFixture bench;
  Ledger ledger(bench.surroundings.surroundings, "fans");
  FanControl control(bench.surroundings.surroundings, ledger, {{FanFixture::kTemperature, 100}});
  if (!keep_the_user() || !control.set_force_bits(3)) {
    return false;
  }
  while (!control.tripped()) {
    std::this_thread::yield();  // ends with the alarm if the thread watches
  }
  return control.force_bits() == 0 && bench.shown("pwm1_enable") == 5 &&
         bench.surroundings.reported(
             "the fans are given back: their watch cannot give up its privilege: Resource "
             "temporarily unavailable") &&
         !control.set_force_bits(1);
}

TEST(WatchingDeathTest, AWatchThatCannotGiveUpThePrivilegeGivesTheFansBack) {
  EXPECT_EXIT(
      {
        alarm(10);
        std::_Exit(is_given_back_without_a_watch() ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(Daemons, AreFoundByTheNameOfTheirProcess) {
  for (const char* name : {"fancontrol", "fan2go", "thinkfan", "coolercontrold"}) {
    FanFixture bench;
    const std::string proc = bench.surroundings.folder() + "/proc";
    for (const auto& [process, comm] :
         std::map<std::string, std::string>{{"1", "init"}, {"814", name}, {"self", "thinkfan"}}) {
      std::filesystem::create_directories(proc + "/" + process);
      std::ofstream(proc + "/" + process + "/comm") << comm << "\n";
    }
    sysfs::Folder tree(proc);
    EXPECT_EQ(running_fan_daemon(tree), name);

    const Surroundings& own = bench.surroundings.surroundings;
    Surroundings beside{own.sys,    tree,          own.curves_folder,  own.state_folder, false,
                        own.now_ns, own.sleep_for, own.effective_user, own.report};
    Ledger ledger(beside, "fans");
    FanControl control(beside, ledger, {}, FanControl::Watching::by_caller);
    const auto before = bench.state();
    const auto refused = control.set_force_bits(1);
    EXPECT_EQ(refused.failure().trouble, sysfs::Trouble::held);
    EXPECT_NE(refused.failure().message.find(std::string("systemctl stop ") + name),
              std::string::npos);
    EXPECT_EQ(control.maximum_rpm(0).failure().trouble, sysfs::Trouble::held);
    EXPECT_EQ(bench.state(), before);

    const auto belongs_to = [&](const char* user) {
      std::ofstream(proc + "/814/status") << "Name:\t" << name << "\nUmask:\t0022\nUid:\t1000\t"
                                          << user << "\t0\t0\nGid:\t0\t0\t0\t0\n";
    };
    belongs_to("1000");
    EXPECT_EQ(running_fan_daemon(tree), std::nullopt) << "anybody can give a process this name";
    belongs_to("0");
    EXPECT_EQ(running_fan_daemon(tree), name);
    std::filesystem::remove_all(proc + "/814");
    EXPECT_EQ(running_fan_daemon(tree), std::nullopt);
  }
}

}  // namespace
}  // namespace linux_machine
