#include "machines/linux/sensors/energy_sensor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "support/machine/memory_tree.h"
#include "support/machine/test_surroundings.h"

namespace linux_machine {
namespace {

using sysfs::Trouble;

constexpr EnergyCounterLimits kLimits{262143328850, 1000};

class EnergySensorTest : public testing::Test {
 protected:
  EnergySensorTest() {
    for (const char* path : {"a", "b"}) {
      tree_.put(path, "0", 0400);
      tree_.on_read(path, [this](const std::string& offset) {
        const std::int64_t since_ns = world_.now_ns - start_ns_;
        const long long energy = static_cast<long long>(power_w_ * 1e-3 * double(since_ns));
        return MemoryTree::Answer{std::to_string(std::stoll(offset) + energy), 0};
      });
    }
  }
  std::unique_ptr<Sensor> connect() { return connect_energy(world_.surroundings, counters_); }
  std::int64_t ms_since_start() const { return (world_.now_ns - start_ns_) / kNsPerMs; }
  void pass_ms(std::int64_t ms) { world_.now_ns += ms * kNsPerMs; }
  /// Each read of "a", of 40 W, is held up that long before its end; the last is that of all
  /// behind.
  void hold_up_reads(std::vector<std::int64_t> each_ms) {
    reads_ = 0;
    tree_.on_read("a", [this, each_ms](const std::string&) {
      const auto energy = std::to_string((world_.now_ns - start_ns_) / 1000 * 40);
      pass_ms(each_ms.at(std::min(reads_++, each_ms.size() - 1)));
      return MemoryTree::Answer{energy, 0};
    });
  }

  MemoryTree tree_;
  TestSurroundings world_{tree_};
  const std::int64_t start_ns_ = world_.now_ns;
  double power_w_ = 40;
  std::size_t reads_ = 0;  ///< since hold_up_reads()
  std::vector<EnergyCounter> counters_{{"a", kLimits}, {"b", kLimits}};
};

TEST_F(EnergySensorTest, ValueIsTheSumOfTheCounters) {
  const auto sensor = connect();
  pass_ms(100);
  EXPECT_DOUBLE_EQ(*sensor->read(), 80);
}

TEST_F(EnergySensorTest, TheFirstReadWaitsUntil50MsAfterTheConnection) {
  const auto sensor = connect();
  pass_ms(10);
  EXPECT_DOUBLE_EQ(*sensor->read(), 80);
  EXPECT_EQ(ms_since_start(), 50);
}

TEST_F(EnergySensorTest, LaterReadsDoNotWait) {
  const auto sensor = connect();
  pass_ms(200);
  EXPECT_TRUE(sensor->read());
  for (int i = 0; i < 100; ++i) {
    pass_ms(1);
    EXPECT_DOUBLE_EQ(*sensor->read(), 80);
  }
  EXPECT_EQ(ms_since_start(), 300);
}

TEST_F(EnergySensorTest, EveryConnectionHasWindowsOfItsOwn) {
  counters_.resize(1);
  const auto first = connect();
  pass_ms(100);
  EXPECT_TRUE(first->read());
  const auto second = connect();
  tree_.put("a", "9000000");  // 90 W more for 100 ms
  pass_ms(100);
  EXPECT_TRUE(second->read());
  pass_ms(900);
  EXPECT_DOUBLE_EQ(*first->read(), 49);
  EXPECT_DOUBLE_EQ(*second->read(), 40);
}

TEST_F(EnergySensorTest, ARefusedCounterIsRefusedAtEveryRead) {
  tree_.superuser = false;
  const auto sensor = connect();
  tree_.superuser = true;  // opened with the rights of that moment
  for (int i = 0; i < 2; ++i) {
    const auto power = sensor->read();
    EXPECT_EQ(power.failure().trouble, Trouble::refused);
    EXPECT_EQ(power.failure().message, "opening a: Permission denied");
  }
}

TEST_F(EnergySensorTest, ACounterThatFailsIsSilentUntilItAnswers) {
  tree_.fail("b", ENODATA);
  const auto sensor = connect();
  pass_ms(100);
  EXPECT_EQ(sensor->read().failure().message, "reading b: No data available");
  tree_.fail("b", 0);
  EXPECT_DOUBLE_EQ(*sensor->read(), 80);
}

TEST_F(EnergySensorTest, ACounterThatNeverMovesIsSilentAfterASecond) {
  power_w_ = 0;
  const auto sensor = connect();
  const auto power = sensor->read();
  EXPECT_EQ(power.failure().trouble, Trouble::silent);
  EXPECT_EQ(power.failure().message, "reading a: the counter does not move");
  EXPECT_EQ(ms_since_start(), 1000);
}

TEST_F(EnergySensorTest, CountersThatBeganAnewAreMeasuredAnew) {
  tree_.put("a", "200000000000");
  tree_.put("b", "200000000000");
  const auto sensor = connect();
  pass_ms(1000);
  EXPECT_DOUBLE_EQ(*sensor->read(), 80);
  tree_.put("a", "0");
  tree_.put("b", "0");
  pass_ms(1000);
  EXPECT_DOUBLE_EQ(*sensor->read(), 80);
  EXPECT_EQ(ms_since_start(), 2050);
}

TEST_F(EnergySensorTest, APowerThatIsAlwaysTooLargeIsNonsense) {
  power_w_ = 1500;
  const auto sensor = connect();
  const auto power = sensor->read();
  EXPECT_EQ(power.failure().trouble, Trouble::nonsense);
  EXPECT_EQ(power.failure().message, "reading a: no power can be so large");
}

TEST_F(EnergySensorTest, AnEnergyBelowZeroIsNonsense) {
  tree_.put("a", "-100000000000");
  EXPECT_EQ(connect()->read().failure().message, "reading a: an energy below zero");
}

TEST_F(EnergySensorTest, AReadThatWasInterruptedForLongIsRepeated) {
  counters_.resize(1);
  const auto sensor = connect();
  pass_ms(100);
  hold_up_reads({30, 30, 0});
  EXPECT_DOUBLE_EQ(*sensor->read(), 40);
  EXPECT_EQ(ms_since_start(), 160);
}

TEST_F(EnergySensorTest, OfReadsThatWereHeldUpTheQuickestCounts) {
  counters_.resize(1);
  const auto sensor = connect();
  pass_ms(100);
  hold_up_reads({4, 1, 3});
  EXPECT_DOUBLE_EQ(*sensor->read(), 40 * 104 / 104.5);
  EXPECT_EQ(reads_, 3U);
}

TEST_F(EnergySensorTest, ACounterThatTakesLongEachTimeIsReadOnce) {
  counters_.resize(1);
  hold_up_reads({2});
  const auto sensor = connect();
  EXPECT_EQ(reads_, 3U) << "until its time is known";
  pass_ms(100);
  EXPECT_TRUE(sensor->read());
  EXPECT_EQ(reads_, 4U);
}

TEST_F(EnergySensorTest, ACounterThatIsAlwaysSlowIsSilent) {
  counters_.resize(1);
  tree_.on_read("a", [&](const std::string&) {
    pass_ms(6);
    return MemoryTree::Answer{"1", 0};
  });
  EXPECT_EQ(connect()->read().failure().message, "reading a: it takes more than 5 ms");
}

TEST_F(EnergySensorTest, TheTimeOfAReadingIsTheMiddleOfTheRead) {
  counters_.resize(1);
  const auto sensor = connect();
  pass_ms(100);
  tree_.on_read("a", [&](const std::string&) {
    pass_ms(4);
    return MemoryTree::Answer{"1020000", 0};
  });
  EXPECT_DOUBLE_EQ(*sensor->read(), 10);
}

using Lines = std::vector<std::string>;

const std::string kShown = "; the power shown is that of the last 50 ms";

TEST_F(EnergySensorTest, ReadsThatAreTooRareAreToldOncePerConnection) {
  counters_ = {{"a", {65'532'610'987, 1000}}, {"b", {65'532'610'987, 300}}};
  const Lines told{"a: read too rarely to tell its wraps (every 65 s at most)" + kShown};
  const auto sensor = connect();
  pass_ms(65'000);
  EXPECT_TRUE(sensor->read());
  EXPECT_EQ(world_.reports(), Lines());
  for (int i = 0; i < 3; ++i) {
    pass_ms(66'000);
    EXPECT_DOUBLE_EQ(*sensor->read(), 80);
    EXPECT_EQ(world_.reports(), told);
  }
  EXPECT_EQ(ms_since_start(), 65'000 + 3 * 66'050);
  const auto another = connect();
  for (int i = 0; i < 2; ++i) {
    pass_ms(66'000);
    EXPECT_TRUE(another->read());
  }
  EXPECT_EQ(world_.reports(), (Lines{told[0], told[0]}));
}

TEST_F(EnergySensorTest, AKnownLimitOfThePowerAllowsRarerReads) {
  counters_ = {{"a", {65'532'610'987, 100}}};
  const auto sensor = connect();
  pass_ms(100);
  EXPECT_TRUE(sensor->read());
  pass_ms(655'000);
  EXPECT_DOUBLE_EQ(*sensor->read(), 40);
  EXPECT_EQ(world_.reports(), Lines());
  pass_ms(656'000);
  EXPECT_DOUBLE_EQ(*sensor->read(), 40);
  EXPECT_EQ(world_.reports(),
            Lines{"a: read too rarely to tell its wraps (every 655 s at most)" + kShown});
}

TEST_F(EnergySensorTest, AConnectionThatIsFirstReadLateIsNotReadTooRarely) {
  const auto sensor = connect();
  pass_ms(300'000);
  EXPECT_DOUBLE_EQ(*sensor->read(), 80);
  EXPECT_EQ(ms_since_start(), 300'050);
  EXPECT_EQ(world_.reports(), Lines());
}

TEST_F(EnergySensorTest, AJumpIsToldOncePerConnection) {
  const auto sensor = connect();
  for (const char* energy : {"200000000000", "0", "200000000000", "0"}) {
    tree_.put("b", energy);
    pass_ms(1000);
    EXPECT_DOUBLE_EQ(*sensor->read(), 80);
  }
  EXPECT_EQ(world_.reports(), Lines{"b: the counter has jumped, as after a suspend" + kShown});
}

TEST_F(EnergySensorTest, NoPowerIsSaidToBeShownBeforeItIs) {
  counters_.resize(1);
  const auto sensor = connect();
  pass_ms(100);
  EXPECT_TRUE(sensor->read());
  power_w_ = 1500;
  tree_.put("a", "200000000000");
  pass_ms(100);
  EXPECT_FALSE(sensor->read());
  EXPECT_EQ(world_.reports(), Lines());
  power_w_ = 40;
  tree_.put("a", "0");
  pass_ms(100);
  EXPECT_TRUE(sensor->read());
  EXPECT_EQ(world_.reports().size(), 1U);
}

TEST_F(EnergySensorTest, ARangeThatLastsNoWindowIsNonsense) {
  counters_ = {{"a", {1'000'000, 1000}}};
  const auto power = connect()->read();
  EXPECT_EQ(power.failure().trouble, Trouble::nonsense);
  EXPECT_EQ(power.failure().message, "reading a: it wraps too fast to be measured");
}

TEST_F(EnergySensorTest, TheSlowestCounterThatIsNotDeadIsMeasured) {
  counters_.resize(1);
  tree_.on_read("a", [this](const std::string&) {
    return MemoryTree::Answer{std::to_string(ms_since_start() / 900 * 36'000'000), 0};
  });
  EXPECT_DOUBLE_EQ(*connect()->read(), 40);
  EXPECT_EQ(ms_since_start(), 1800);
}

}  // namespace
}  // namespace linux_machine
